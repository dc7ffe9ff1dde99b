// A move is a copy of the whole chain and a tombstone: the destination gets every version with its
// author and time, in archives and journal lines of its own, so that it stands alone after a
// restart; the source keeps all it had.

#include <algorithm>

#include "platform/paths.h"
#include "platform/sync_all.h"
#include "vfs/mirror/chain_plan.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/mirror/mirror_scan.h"
#include "vfs/model/reserved_names.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs {

bool VersionStore::move(iFileSystemObj* node, const std::string& destination) {
  const Lock guard = lock();
  File* source = writable_file(node);
  if (source == nullptr) return false;
  if (source->name == destination) return refuse("source and destination are the same");
  if (HasReservedPart(destination)) return refuse(ReservedNameReason(destination));
  if (find(destination) == source) return change_case(*source, destination);
  if (const File* there = find(destination);
      (there != nullptr && !there->is_gone()) || is_folder(destination) ||
      platform::Exists(*places_.files, working_path(destination))) {
    return refuse("'" + destination +
                  "' already exists — fs:rm it first, or fs:copy to keep its history");
  }
  if (!may_write(*source, false)) return false;
  if (!absorb_external_change(*source)) return false;
  if (source->is_gone()) {
    return refuse("source is tombstoned: " + source->name + " (fs:restore it first)");
  }
  File& target = touch(destination);
  if (!carry_chain(*source, target)) return false;
  if (const auto failure = append_tombstone(*source, true)) {
    static_cast<void>(append_tombstone(target, true));  // what the user is told of is the first
    return answer(failure);
  }
  locks_.rename(source->name, target.name);
  return true;
}

/// The same file by another spelling, on a system to which both are one name.
bool VersionStore::change_case(File& file, const std::string& name) {
  const Status renamed = places_.files->rename_replace(working_path(file.name), working_path(name));
  if (!renamed) return refuse(renamed.error().text);
  table_.respell(file, name);
  look_at(file);
  return true;
}

Result<std::vector<VersionRecord>> VersionStore::older_versions(
    const File& file, const std::vector<Change>& changes) const {
  const std::scoped_lock guard(mutex_);
  std::vector<VersionRecord> older;
  if (!places_.mirrors(file.name)) return older;
  const std::uint32_t first_held = file.history.empty() ? 1 : file.history.front().version;
  for (const PlannedRecord& planned :
       PlanChain(ScanMirrorOf(places_, file.name), changes).records) {
    if (planned.version >= first_held) break;
    VersionRecord record{planned.version, planned.tombstone, {}, planned.author, planned.stamp};
    if (!planned.tombstone) {
      auto bytes = ReadBlob(*places_.files, SourcePath(places_, file.name, planned.source));
      if (!bytes) return std::unexpected(bytes.error());
      record.bytes = *std::move(bytes);
    }
    older.push_back(std::move(record));
  }
  return older;
}

/// Every version that can be had: those in memory, and older ones from the archive.
Result<std::vector<VersionRecord>> VersionStore::whole_chain(const File& file) const {
  std::vector<VersionRecord> chain;
  if (!file.history.empty() && file.history.front().version > 1 && places_.mirrors(file.name)) {
    const auto changes = changes_of(file);
    if (!changes) return std::unexpected(changes.error());
    auto older = older_versions(file, *changes);
    if (!older) return older;
    chain = *std::move(older);
  }
  std::ranges::copy(file.history, std::back_inserter(chain));
  return chain;
}

/// Writes the source's chain under the target's name, behind the tombstoned history that the target
/// may have. All of it or nothing.
bool VersionStore::carry_chain(const File& source, File& target) {
  auto chain = whole_chain(source);
  if (!chain) return refuse(chain.error().text);
  const std::uint32_t offset = target.version;
  const std::size_t held_before = target.history.size();
  for (VersionRecord& record : *chain) record.version += offset;
  Archives archives;
  const auto lines = announce_chain(target, *chain, archives);
  std::string reason = lines ? std::string() : lines.error().text;
  if (lines && places_.mirrors(target.name)) reason = carry_archives(target, *lines, archives);
  if (reason.empty()) reason = carry_newest(source, target);
  if (reason.empty()) {
    if (!archives.empty()) target.next_archive = archives.back().first + 1;
    return true;
  }
  Change taken_back = change_of(target, ChangeKind::kMirrorFail);
  taken_back.version = offset + 1;
  (void)log(taken_back);
  for (const auto& [number, bytes] : archives) {
    static_cast<void>(places_.files->remove_file(layout_.archive(target.name, number)));
  }
  target.history.resize(held_before);
  target.follow_history();
  target.content = {};
  return refuse(reason);
}

/// Appends all but the newest record, and answers their journal lines. Each that has bytes gets an
/// archive number.
Result<std::string> VersionStore::announce_chain(File& target,
                                                 const std::vector<VersionRecord>& chain,
                                                 Archives& archives) {
  std::string lines;
  std::uint32_t number = target.next_archive;
  for (const VersionRecord& record : chain) {
    target.history.push_back(record);
    target.follow_history();
    if (&record == &chain.back()) break;
    Change change = change_of(target, record.tombstone      ? ChangeKind::kDelete
                                      : record.version == 1 ? ChangeKind::kCreate
                                                            : ChangeKind::kModify);
    change.carried = true;
    if (places_.mirrors(target.name) && !record.tombstone) {
      const auto free = FreeArchive(places_, target.name, number);
      if (!free) return Fail(ErrorKind::kIo, "vc archive move failed");
      archives.emplace_back(*free, record.bytes);
      change.archived = *free;
      change.holds = record.version;
      number = *free + 1;
    }
    lines += ChangeLine(change);
  }
  target.content = chain.back().bytes;
  return lines;
}

/// The lines first: an archive that no line names would pass for a version of the target's own.
std::string VersionStore::carry_archives(const File& target, const std::string& lines,
                                         const Archives& archives) {
  if (archives.empty()) return {};
  if (!journal_.append(lines) || !journal_.sync()) return "vc journal write failed";
  const Status made =
      MakeFoldersInside(*places_.files, layout_.root(), target.name, FolderAccess::kPrivate, true);
  if (!made) return "vc mkdirs failed: " + made.error().text;
  for (const auto& [number, bytes] : archives) {
    if (!WriteArchive(places_, target.name, number, bytes.bytes(), true)) {
      return "vc archive move failed";
    }
  }
  return {};
}

/// The newest version: the target's working file and mirror copy.
std::string VersionStore::carry_newest(const File& source, File& target) {
  VersionWrite write(places_, target.name, target.content.bytes());
  auto failure = write.reserve_archive(target.next_archive, false);
  if (!failure) failure = write.write_temporaries();
  if (!failure) {
    // The same file to the user: it keeps its permissions.
    static_cast<void>(places_.files->copy_permissions(working_path(source.name),
                                                      TemporaryBeside(working_path(target.name))));
    failure = write.commit_working();
  }
  if (!failure && !log(change_of(target, ChangeKind::kMove))) {
    failure = VersionWrite::Failure{"vc journal write failed", Step::kJournal, true};
  }
  if (!failure) failure = write.commit_mirror();
  if (!failure) {
    failure = write.sync(&journal_);
    if (failure) write.undo_mirror();
  }
  if (!failure) {
    look_at(target);
    return {};
  }
  // It was free before: nothing of anybody's is lost.
  static_cast<void>(places_.files->remove_file(working_path(target.name)));
  return failure->reason;
}

}  // namespace mrb::vfs
