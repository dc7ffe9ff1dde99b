// Deletes, restores, reverts and copies: nothing in a store is ever destroyed.

#include <algorithm>
#include <array>
#include <ranges>

#include "platform/paths.h"
#include "platform/sync_all.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/mirror/mirror_scan.h"
#include "vfs/model/reserved_names.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs {

using platform::ParentPath;

bool VersionStore::remove(iFileSystemObj* node) {
  const Lock guard = lock();
  File* file = writable_file(node);
  if (file == nullptr) return false;
  if (is_cache()) {
    const Status removed = places_.files->remove_file(working_path(file->name));
    if (!removed) return refuse(removed.error().text);
    file->content = {};
    file->seen = {};
    return true;
  }
  if (!may_write(*file, false)) return false;
  if (!absorb_external_change(*file)) return false;
  if (file->is_gone()) return true;
  return answer(append_tombstone(*file, true));
}

/// Appends a tombstone and takes both files away. The mirror goes first: once the working file is
/// gone, its bytes must have their place.
VersionWrite::Outcome VersionStore::append_tombstone(File& file, bool remove_working_file) {
  platform::FileSystem& files = *places_.files;
  const VersionRecord last = file.history.back();
  append_record(file, {}, true);
  std::vector<platform::SyncTarget> flushed;
  if (places_.mirrors(file.name)) {
    if (auto failure = move_copy_to_tombstone(file, last, flushed)) {
      return write_failed(file, *std::move(failure));
    }
  } else {
    (void)log(change_of(file, ChangeKind::kDelete));  // in memory, which cannot fail
  }
  const std::string target = working_path(file.name);
  if (remove_working_file) {
    const Status removed = files.remove_file(target);
    if (!removed && removed.error().kind != ErrorKind::kNotFound) {
      move_tombstone_back(file);
      return write_failed(file,
                          {removed.error().text, Step::kWorkingFile, places_.mirrors(file.name)});
    }
    if (removed) flushed.emplace_back(ParentPath(target));
  }
  if (const Status synced = platform::SyncAll(files, flushed); !synced) {
    warn("warning: a delete of '" + target +
         "' may not be on the disk yet: " + synced.error().text + "\n");
  }
  file.content = {};
  return {};
}

/// Gives the mirror's copy the tombstone's name; an older file of that name goes to the archive
/// first. `flushed` gets what is to be flushed.
VersionWrite::Outcome VersionStore::move_copy_to_tombstone(
    File& file, const VersionRecord& last, std::vector<platform::SyncTarget>& flushed) {
  platform::FileSystem& files = *places_.files;
  const auto failed = [](Step step, std::string_view reason) {
    return VersionWrite::Failure{std::string(reason), step, true};
  };
  const std::string tombstone = layout_.tombstone(file.name);
  const std::string copy = places_.mirror_copy(file.name);
  const auto has_tombstone = IsThere(files, tombstone);
  const auto has_copy = IsThere(files, copy);
  if (!has_tombstone || !has_copy) return failed(Step::kMirror, "vc tombstone move failed");
  Change change = change_of(file, ChangeKind::kDelete);
  change.tombstone_version = last.version;
  if (*has_tombstone) {
    const auto number = FreeArchive(places_, file.name, file.next_archive);
    if (!number) return failed(Step::kArchive, "vc archive move failed");
    change.archived = *number;
    change.holds = file.tombstone_version;
  }
  if (!*has_copy && !announce_unmirrored(file, last))
    return failed(Step::kJournal, "vc journal write failed");
  if (!log(change)) return failed(Step::kJournal, "vc journal write failed");
  if (*has_tombstone) {
    // Two names move, and without this line nobody could tell which holds what.
    if (!journal_.sync()) return failed(Step::kJournal, "vc journal write failed");
    const std::string folder = layout_.archive_folder(file.name);
    const Status made = files.make_directory(folder);
    if (!made && made.error().kind != ErrorKind::kAlreadyExists)
      return failed(Step::kArchive, "vc archive mkdir failed");
    if (!files.rename_new(tombstone, layout_.archive(file.name, change.archived))) {
      return failed(Step::kArchive, "vc archive move failed");
    }
    file.next_archive = change.archived + 1;
    flushed.emplace_back(folder);
  }
  if (*has_copy) {
    if (!files.rename_replace(copy, tombstone))
      return failed(Step::kMirror, "vc tombstone move failed");
  } else {
    VersionWrite write(places_, file.name, last.bytes.bytes());
    write.leave_working_file();
    if (write.write_temporaries()) return failed(Step::kMirror, "vc temp write failed");
    if (!files.rename_replace(layout_.temporary(file.name), tombstone)) {
      return failed(Step::kMirror, "vc tombstone move failed");
    }
  }
  file.tombstone_version = last.version;
  flushed.emplace_back(ParentPath(tombstone));
  if (journal_.file() != nullptr) flushed.emplace_back(journal_.file());
  return {};
}

/// A store that mirrors edited files only has neither copy nor line of one that never was edited.
Status VersionStore::announce_unmirrored(const File& file, const VersionRecord& last) {
  Change change = change_of(file, last.version == 1 ? ChangeKind::kCreate : ChangeKind::kModify);
  change.version = last.version;
  change.author = last.author.text();
  change.stamp = last.stamp;
  change.size = last.bytes.bytes().size();
  change.carried = true;
  return log(change);
}

/// As far as the system allows: what cannot be moved back is found by the next start.
void VersionStore::move_tombstone_back(File& file) {
  if (!places_.mirrors(file.name)) return;
  static_cast<void>(
      MoveToCopy(*places_.files, layout_.tombstone(file.name), places_.mirror_copy(file.name)));
  file.tombstone_version = 0;
}

bool VersionStore::restore(iFileSystemObj* node) {
  const Lock guard = lock();
  File* file = writable_file(node);
  if (file == nullptr) return false;
  if (!may_write(*file, false)) return false;
  if (!absorb_external_change(*file)) return false;
  const VersionRecord* newest = file->newest_content();
  if (newest == nullptr) return refuse("no content version to restore");
  if (!file->is_gone() && platform::Exists(*places_.files, working_path(file->name))) return true;
  return answer(restore_record(*file, VersionRecord(*newest)));
}

/// Appends `newest`'s bytes as a new version and brings the mirror's copy back under its name.
VersionWrite::Outcome VersionStore::restore_record(File& file, const VersionRecord& newest) {
  platform::FileSystem& files = *places_.files;
  const bool was_gone = file.is_gone();
  file.content = newest.bytes;
  if (was_gone) append_record(file, newest.bytes, false);
  bool from_tombstone = was_gone && places_.mirrors(file.name);
  if (from_tombstone) {
    const auto has_tombstone = IsThere(files, layout_.tombstone(file.name));
    const auto has_copy = IsThere(files, places_.mirror_copy(file.name));
    if (!has_tombstone || !has_copy) {
      return write_failed(file, {"vc restore move failed", Step::kMirror, false});
    }
    from_tombstone = *has_tombstone && !*has_copy && file.tombstone_version == newest.version;
  }
  if (was_gone && !from_tombstone) return write_version(file, {});
  VersionWrite write(places_, file.name, file.content.bytes());
  write.leave_mirror();
  auto failure = write.write_temporaries();
  if (!failure) failure = write.commit_working();
  if (failure) return was_gone ? write_failed(file, *std::move(failure)) : failure;
  if (from_tombstone) {
    Change change = change_of(file, ChangeKind::kRestore);
    change.same_as = newest.version;
    if (!log(change)) return write_failed(file, {"vc journal write failed", Step::kJournal, true});
    const std::string copy = places_.mirror_copy(file.name);
    if (!MoveToCopy(files, layout_.tombstone(file.name), copy)) {
      return write_failed(file, {"vc restore move failed", Step::kMirror, true});
    }
    file.tombstone_version = 0;
    if (!files.sync_directory(ParentPath(copy))) {
      return write_failed(file, {"vc restore move failed", Step::kMirror, true});
    }
  }
  failure = write.sync(&journal_);
  if (failure) {
    if (!was_gone) return failure;
    return write_failed(file, {failure->reason, failure->step, true});
  }
  look_at(file);
  return {};
}

/// A delete that was noticed and undone outside, with the same bytes: as if it had not been.
VersionWrite::Outcome VersionStore::withdraw_tombstone(File& file) {
  const VersionRecord tombstone = file.history.back();
  take_back(file);
  file.content = file.history.back().bytes;
  if (places_.mirrors(file.name)) {
    const bool logged = log(change_of(file, ChangeKind::kRestore)).has_value();
    const std::string copy = places_.mirror_copy(file.name);
    const bool moved =
        logged && MoveToCopy(*places_.files, layout_.tombstone(file.name), copy).has_value();
    if (!moved) {
      file.history.push_back(tombstone);
      file.follow_history();
      file.content = {};
      return VersionWrite::Failure{"vc restore move failed", Step::kMirror, true};
    }
    file.tombstone_version = 0;
    static_cast<void>(places_.files->sync_directory(ParentPath(copy)));
    static_cast<void>(journal_.sync());  // both are done again by the next look if they are lost
  } else {
    (void)log(change_of(file, ChangeKind::kRestore));  // in memory, which cannot fail
  }
  return {};
}

bool VersionStore::revert(iFileSystemObj* node, std::uint32_t version) {
  const Lock guard = lock();
  File* file = writable_file(node);
  if (file == nullptr) return false;
  auto bytes = version_bytes(*file, version);
  if (!bytes) return refuse("no such version");
  const Blob before = file->content;
  file->content = *std::move(bytes);
  if (check_in(file, false)) return true;
  file->content = before;
  return false;
}

bool VersionStore::copy(iFileSystemObj* node, const std::string& destination) {
  const Lock guard = lock();
  const File* source = writable_file(node);
  if (source == nullptr) return false;
  if (source->is_gone()) {
    return refuse("source is tombstoned: " + source->name + " (fs:restore it first)");
  }
  if (is_folder(destination)) return refuse("destination is a directory: " + destination);
  const Blob bytes = source->history.back().bytes;
  File& target = touch(destination);
  target.content = bytes;
  return check_in(&target, false);
}

}  // namespace mrb::vfs
