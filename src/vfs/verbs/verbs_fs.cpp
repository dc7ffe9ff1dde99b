// Reading, deleting, moving, copying and restoring versioned files.

#include <array>

#include "common/answer.h"
#include "vfs/verbs/verb_call.h"
#include "vfs/verbs/verbs_grep.h"

namespace mrb::vfs {
namespace {

std::string Cat(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  const auto at = Locate(call, path);
  if (!at) return ErrorAnswer("no such file: " + path);
  if (at->store->is_cache()) {
    const auto bytes = call.service.cache().read(*at->store, at->path);
    if (!bytes) return ErrorAnswer("no such file: " + path);
    call.service.cache().drop_old(call.service.registry().all());
    return std::string(bytes->bytes());
  }
  const HeldStore store(at->store, call.caller);
  const File* file = store->find(at->path);
  if (file == nullptr || file->history.empty()) return ErrorAnswer("no such file: " + path);
  if (file->is_gone()) {
    return ErrorAnswer("file tombstoned: " + path + " (fs:restore to bring it back)");
  }
  return std::string(file->history.back().bytes.bytes());
}

/// A node that can be changed; a cache store's files are nodes from their first use on.
iFileSystemObj* NodeOf(VersionStore& store, const std::string& path) {
  if (store.is_cache() && store.find(path) == nullptr) return &store.touch(path);
  return store.find(path);
}

std::string NoNode(VersionStore& store, const StorePath& at, const std::string& path) {
  return ErrorAnswer(store.is_folder(at.path) ? "not a file" : "no such file: " + path);
}

std::string Remove(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  const auto at = Locate(call, path);
  if (!at) return ErrorAnswer("no such file: " + path);
  const HeldStore store(at->store, call.caller);
  iFileSystemObj* node = NodeOf(*store, at->path);
  if (node == nullptr) return NoNode(*store, *at, path);
  if (!store->remove(node)) return Failure(*store);
  return OkAnswer("tombstoned " + path + " (append-only; fs:restore to undo)");
}

/// Both ends of a copy or move; they must lie in one store.
struct Ends {
  std::string source;  // as they were given
  std::string target;
  StorePath from;
  StorePath to;
};

/// The error is a whole answer.
std::expected<Ends, std::string> EndsOf(const VerbCall& call) {
  std::string source = call.args.text("src", 0);
  std::string target = call.args.text("dst", 1);
  if (source.empty() || target.empty()) return std::unexpected(UsageOf(FsVerbs(), call.verb));
  auto from = Locate(call, source);
  auto to = Locate(call, target);
  if (!from) return std::unexpected(ErrorAnswer("no such file: " + source));
  if (!to) {
    return std::unexpected(ErrorAnswer("no enrolled directory holds '" + target + "'"));
  }
  if (from->store != to->store) {
    return std::unexpected(ErrorAnswer("destination '" + target +
                                       "' exists in a different store than source '" + source +
                                       "' — cross-store overwrite not supported"));
  }
  return Ends{std::move(source), std::move(target), *std::move(from), *std::move(to)};
}

std::string Move(const VerbCall& call) {
  const auto ends = EndsOf(call);
  if (!ends) return ends.error();
  const auto& [source, target, from, to] = *ends;
  const HeldStore store(from.store, call.caller);
  if (store->is_cache()) return ErrorAnswer("a cache write-through store keeps no history to move");
  iFileSystemObj* node = store->find(from.path);
  if (node == nullptr) return NoNode(*store, from, source);
  if (!store->admits(to.path, 0)) return ErrorAnswer(ExcludedReason(*store));
  if (!store->move(node, to.path)) return Failure(*store);
  return OkAnswer("moved " + source + " -> " + target + " (history followed)");
}

std::string Copy(const VerbCall& call) {
  const auto ends = EndsOf(call);
  if (!ends) return ends.error();
  const auto& [source, target, from, to] = *ends;
  const HeldStore store(from.store, call.caller);
  iFileSystemObj* node = store->find(from.path);
  if (node == nullptr) return NoNode(*store, from, source);
  if (!store->admits(to.path, 0)) return ErrorAnswer(ExcludedReason(*store));
  const File* before = store->find(to.path);
  const bool replaces = before != nullptr && !before->history.empty();
  if (!store->copy(node, to.path)) return Failure(*store);
  const std::string copied = "copied " + source + " -> " + target;
  if (!replaces) return OkAnswer(copied + " (v1, new versioned file)" + Notice(*store));
  return OkAnswer(copied + " (v" + std::to_string(store->find(to.path)->version) +
                  "; incoming copy replaced the working bytes)" + Notice(*store));
}

std::string Restore(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  const auto at = Locate(call, path);
  if (!at) return ErrorAnswer("no such file: " + path);
  const HeldStore store(at->store, call.caller);
  iFileSystemObj* node = store->find(at->path);
  if (node == nullptr) return NoNode(*store, *at, path);
  if (!store->restore(node)) return Failure(*store);
  return OkAnswer("restored " + path);
}

constexpr std::array kRows{
    VerbRow{"cat", "read", "fs:cat <path>", true, &Cat},
    VerbRow{"rm", "del remove delete", "fs:rm <path>", true, &Remove},
    VerbRow{"move", "mv rename", "fs:move <src> <dst>", true, &Move},
    VerbRow{"copy", "cp", "fs:copy <src> <dst>", true, &Copy},
    VerbRow{"restore", "undelete", "fs:restore <path>", true, &Restore},
    VerbRow{"find", "", "fs:find [name:<glob>] [keyword:<glob>] [--store=dir]", false, &RunFind},
    VerbRow{"grep", "", "fs:grep [flags] <pattern> [path-glob…]", false, &RunGrep},
};

}  // namespace

const VerbFamily& FsVerbs() {
  static constexpr VerbFamily kFamily{
      "fs", kRows,
      "(cat|rm|move|copy|restore). Use fsmk: to create, fsvctl: for "
      "checkout/checkin/log/diff/revert, fsraw: for a direct OS op."};
  return kFamily;
}

const VerbFamily& GrepVerbs() {
  static constexpr std::array kEdit{VerbRow{
      "edit", "", "grep:edit <pattern> <replacement> [path-glob…] [--apply]", false, &RunGrepEdit}};
  static constexpr VerbFamily kFamily{"grep", kEdit, "(edit)"};
  return kFamily;
}

}  // namespace mrb::vfs
