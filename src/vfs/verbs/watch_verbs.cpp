// Following single files, outside of any enrolled directory.

#include "vfs/verbs/watch_verbs.h"

#include "common/answer.h"
#include "platform/paths.h"
#include "vfs/model/reserved_names.h"
#include "vfs/model/tree_path.h"

namespace mrb::vfs {
namespace {

bool IsFile(const VerbCall& call, const std::string& path) {
  const auto status = call.service.options().files->status(path);
  return status && status->type == platform::FileStatus::Type::kFile;
}

std::string ListWatched(const VerbCall& call) {
  const auto watched = call.service.watched().read();
  if (!watched) return ErrorAnswer(watched.error().text);
  std::string text = std::to_string(watched->size()) + " watched file(s)";
  for (const std::string& path : *watched) {
    const std::size_t archived = call.service.registry().archived_count(
        platform::ParentPath(path), std::string(BaseName(path)));
    text += std::string("\n") + (IsFile(call, path) ? "live " : "gone ") + path + "  (" +
            std::to_string(archived) + " archived version(s))\n";
  }
  return OkAnswer(text +
                  "\n  watch <file> subscribes to one file; EnrollVersionControl <dir> watches a "
                  "whole tree");
}

}  // namespace

std::string Watch(const VerbCall& call) {
  const std::string given = call.args.tag("path").value_or(call.args.words_from(0));
  const std::scoped_lock guard(call.service.enrolling());
  if (given.empty()) return ListWatched(call);
  const auto path = PathOf(call.caller, given);
  if (!path || !IsFile(call, *path)) return ErrorAnswer("no such file: " + given);
  const std::string name(BaseName(*path));
  if (IsReservedName(name)) return ErrorAnswer(ReservedNameReason(given));
  if (const auto at = call.service.registry().resolve(*path, "");
      at && at->store->category() != StoreCategory::kSingleFiles) {
    return OkAnswer(given + " lies in the enrolled directory " + at->store->disk_root() +
                    ", which is versioned as a whole");
  }
  const auto store = call.service.registry().open_folder(platform::ParentPath(*path));
  if (!store) return ErrorAnswer(store.error().text);
  if (const Status followed = (*store)->follow_file(name); !followed) {
    return ErrorAnswer(followed.error().text);
  }
  const auto added = call.service.watched().add(*path);
  if (!added) {
    return OkAnswer("watching " + given + "\n  WARNING: could not update " +
                    call.service.watched().path());
  }
  return OkAnswer((*added ? "watching " : "already watching ") + given +
                  " — every save becomes a version");
}

std::string Unwatch(const VerbCall& call) {
  const std::string given = call.args.tag("path").value_or(call.args.words_from(0));
  const auto path = PathOf(call.caller, given);
  if (!path) return ErrorAnswer("no such file: " + given);
  const std::scoped_lock guard(call.service.enrolling());
  const auto removed = call.service.watched().remove(*path);
  if (!removed) return ErrorAnswer(removed.error().text);
  if (!*removed) return OkAnswer("was not watching " + given);
  std::string unused;
  for (const auto& store : call.service.registry().all()) {
    if (store->category() != StoreCategory::kSingleFiles) continue;
    const std::string name(BaseName(*path));
    if (BelowRoot(*path, store->disk_root()) != name) continue;
    store->unfollow_file(name);
    const VersionStore::Lock held = store->lock();
    if (store->followed().empty()) unused = store->disk_root();
  }
  if (!unused.empty()) call.service.registry().close(unused, StoreCategory::kSingleFiles);
  return OkAnswer("stopped watching " + given + " (mirror history kept)");
}

}  // namespace mrb::vfs
