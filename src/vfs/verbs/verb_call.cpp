#include "vfs/verbs/verb_call.h"

#include <algorithm>

#include "common/answer.h"
#include "common/text.h"
#include "platform/paths.h"
#include "vfs/model/tree_path.h"

namespace mrb::vfs {

namespace {

std::optional<StorePath> FindPlace(const VerbCall& call, const std::string& path) {
  if (!call.args.option("store") || IsAbsolutePath(path)) {
    return call.service.registry().resolve(path, call.caller.folder.path);
  }
  auto store = ChosenStore(call);
  auto relative = NormalRelative(path);
  if (!store || !relative) return std::nullopt;
  return StorePath{*std::move(store), *std::move(relative)};
}

}  // namespace

void RequireUsefulFolder(const VfsCall& caller, std::string_view path) {
  if (caller.folder.is_lost() && !IsAbsolutePath(path)) throw NoCallerFolder(caller.folder);
}

std::optional<std::string> PathOf(const VfsCall& caller, const std::string& path) {
  if (IsAbsolutePath(path)) return NormalPath(path);
  if (!caller.folder.is_known()) throw NoCallerFolder(caller.folder);
  return NormalPath(platform::JoinPath(caller.folder.path, path));
}

std::optional<StorePath> Locate(const VerbCall& call, std::string& path) {
  if (path.empty()) return std::nullopt;
  RequireUsefulFolder(call.caller, path);
  auto at = FindPlace(call, path);
  if (at && call.caller.folder.is_known() && !IsAbsolutePath(path)) {
    std::string full = platform::JoinPath(at->store->disk_root(), platform::NativePath(at->path));
    const auto folder = NormalPath(call.caller.folder.path);
    if (!folder || !BelowRoot(full, *folder)) path = std::move(full);
  }
  return at;
}

Result<std::shared_ptr<VersionStore>> StoreNamed(const VerbCall& call, const std::string& root) {
  const auto normal = PathOf(call.caller, root);
  auto store = normal ? call.service.registry().of_root(*normal) : nullptr;
  if (!store) return Fail(ErrorKind::kNotFound, "no enrolled store '" + root + "'");
  return store;
}

Result<std::shared_ptr<VersionStore>> ChosenStore(const VerbCall& call) {
  if (const auto named = call.args.option("store")) return StoreNamed(call, *named);
  if (auto store = call.service.registry().active()) return store;
  return Fail(ErrorKind::kNotFound, "no enrolled directory — enroll <dir> first");
}

std::string UsageOf(const VerbFamily& family, std::string_view verb) {
  for (const VerbRow& row : family.rows) {
    const auto aliases = SplitWords(row.aliases);
    if (row.name == verb || std::ranges::find(aliases, verb) != aliases.end()) {
      return ErrorAnswer("usage  " + std::string(row.usage));
    }
  }
  return ErrorAnswer("usage  " + std::string(family.name) + ":" + std::string(verb));
}

std::string Failure(const VersionStore& store) {
  return ErrorAnswer(store.message());
}

std::string Notice(const VersionStore& store) {
  return store.message().empty() ? std::string() : "  [" + store.message() + "]";
}

std::string AutoVersionNotice(std::string_view path, std::uint32_t version) {
  const std::string name(path);
  return "\n  [version control: automatic] " + name + " saved as v" + std::to_string(version) +
         " — history: 'Mirebolt history " + name + "'; roll back: 'Mirebolt revert " + name +
         " to " + std::to_string(version - 1) + "'";
}

std::string NothingToSearch(const VersionStore& store) {
  return store.disk_root() +
         " is a cache write-through store (mode=cachewt) — nothing of it is held to be searched";
}

std::string ExcludedReason(const VersionStore& store) {
  return "excluded by version-control policy [" + FormatPolicy(store.policy()) +
         "] — fsraw: writes it unversioned";
}

}  // namespace mrb::vfs
