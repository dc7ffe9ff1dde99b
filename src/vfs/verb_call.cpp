#include "vfs/verb_call.h"

#include <algorithm>

#include "common/answer.h"
#include "common/text.h"
#include "platform/paths.h"
#include "vfs/tree_path.h"

namespace mrb::vfs {

std::optional<StorePath> Locate(const VerbCall& call, std::string_view path) {
  if (path.empty()) return std::nullopt;
  if (!call.args.option("store") || IsAbsolutePath(path)) {
    return call.service.registry().resolve(path, call.caller.working_directory);
  }
  auto store = ChosenStore(call);
  auto relative = NormalRelative(path);
  if (!store || !relative) return std::nullopt;
  return StorePath{*std::move(store), *std::move(relative)};
}

Result<std::shared_ptr<VersionStore>> ChosenStore(const VerbCall& call) {
  StoreRegistry& registry = call.service.registry();
  const auto named = call.args.option("store");
  if (!named) {
    if (auto store = registry.active()) return store;
    return Fail(ErrorKind::kNotFound, "no enrolled directory — enroll <dir> first");
  }
  const auto normal = NormalPath(
      IsAbsolutePath(*named) ? *named : platform::JoinPath(call.caller.working_directory, *named));
  auto store = normal ? registry.of_root(*normal) : nullptr;
  if (!store) return Fail(ErrorKind::kNotFound, "no enrolled store '" + *named + "'");
  return store;
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
