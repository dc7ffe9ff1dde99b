// What was read of the tree, the mirror and the journal becomes the store's: the files with the
// histories that are known first, then the journal is told what it lacks, then what changed while
// nobody watched becomes a version or a tombstone.

#include "platform/files.h"
#include "platform/system_info.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/store/ingest.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs {
namespace {

// Up to this many files are flushed one by one; more of them wait for one flush of the volume.
constexpr std::size_t kFewFiles = 4;

}  // namespace

/// What is left to do for the files that were placed.
struct VersionStore::Arrivals {
  std::string guessed_lines;           ///< of the journal, that it should have held
  std::string new_lines;               ///< of the journal, for what was filled
  std::vector<IngestedFile*> changed;  ///< differ from their newest version
};

Result<IngestReport> VersionStore::ingest(const Progress& progress) {
  const Lock guard = lock();
  if (setup_.outside_author) author_ = setup_.outside_author();
  auto report = read_in(progress, {});
  platform::ReturnFreedMemory();  // what was only needed to read it all
  return report;
}

Status VersionStore::follow_file(const std::string& path) {
  const Lock guard = lock();
  rules_.follow(path);
  if (find(path) != nullptr) {
    reconcile_file(path);
    return {};
  }
  const auto read = read_in({}, path);
  return read ? Status() : std::unexpected(read.error());
}

void VersionStore::unfollow_file(const std::string& path) {
  const Lock guard = lock();
  rules_.unfollow(path);
}

Result<IngestReport> VersionStore::read_in(const Progress& progress, const std::string& only) {
  const IngestSource source{setup_, places_, rules_, journal_, pool_};
  auto tree = Ingest(source, progress, only).run();
  if (!tree) return std::unexpected(tree.error());
  return take_over(*std::move(tree));
}

Result<IngestReport> VersionStore::take_over(IngestedTree tree) {
  Arrivals arrivals;
  for (IngestedFile& read : tree.files) place(read, tree.is_fill, arrivals);
  // Before anything is built on the guess: the next start must come to the same.
  if (!arrivals.guessed_lines.empty() && !setup_.follower) {
    if (Status told = tell_journal(arrivals.guessed_lines); !told) {
      return std::unexpected(told.error());
    }
  }
  if (tree.is_fill) {
    if (Status ended = end_fill(arrivals.new_lines); !ended) return std::unexpected(ended.error());
  }
  // A store of single files is never walked.
  if (!rules_.has_single_files()) folders_ = std::move(tree.folders);
  if (!setup_.follower) settle(arrivals.changed);
  for (const auto& file : table_.files()) tree.report.add(*file);
  return std::move(tree.report);
}

/// Into the table, with the history that is known; what differs from it comes later.
void VersionStore::place(IngestedFile& read, bool is_fill, Arrivals& arrivals) {
  if (!read.on_disk && read.records.empty()) return;
  File& file = table_.add(read.path);
  file.next_archive = read.next_archive;
  file.tombstone_version = read.tombstone_version;
  arrivals.guessed_lines += read.lines;
  if (read.records.empty()) return place_new(read, file, is_fill, arrivals);
  file.history = std::move(read.records);
  file.follow_history();
  file.content = file.history.back().bytes;
  if (read.failed) return;
  const bool same = read.on_disk && !file.is_gone() && file.content.equals(read.bytes);
  if (same) file.seen = Trusted(read.status, NowNanoseconds());
  if (same || (!read.on_disk && file.is_gone())) return;
  arrivals.changed.push_back(&read);
}

void VersionStore::place_new(IngestedFile& read, File& file, bool is_fill, Arrivals& arrivals) {
  if (!read.is_read || read.failed) return;
  const bool joins_mirror =
      places_.mirrors(read.path) && !setup_.follower && setup_.policy.scope == Policy::Scope::kAll;
  if (joins_mirror && !is_fill) {
    arrivals.changed.push_back(&read);
    return;
  }
  file.content = read.bytes;
  append_record(file, file.content, false);
  file.seen = Trusted(read.status, NowNanoseconds());
  if (joins_mirror) arrivals.new_lines += ChangeLine(change_of(file, ChangeKind::kCreate));
}

Status VersionStore::tell_journal(std::string_view lines) {
  if (Status told = journal_.append(lines); !told) return told;
  return journal_.sync();
}

/// The copies first, then the journal that vouches for them, then the mark may go.
Status VersionStore::end_fill(const std::string& lines) {
  platform::FileSystem& files = *places_.files;
  if (files.syncs_volumes()) {
    if (Status flushed = files.sync_volume(layout_.root()); !flushed) return flushed;
  }
  if (Status told = tell_journal(lines); !told) return told;
  return files.remove_file(layout_.filling_mark());
}

/// What changed while nobody watched. Deletes come first: a file's name may be a folder's now.
void VersionStore::settle(const std::vector<IngestedFile*>& changed) {
  const bool flush_later = places_.files->syncs_volumes() && changed.size() > kFewFiles;
  for (const IngestedFile* read : changed) {
    if (!read->on_disk) record_external_delete(*table_.find(read->path));
  }
  for (IngestedFile* read : changed) {
    if (!read->on_disk) continue;
    record_external_change(*table_.find(read->path), std::move(read->bytes),
                           Trusted(read->status, NowNanoseconds()), flush_later);
  }
  if (!flush_later) return;
  if (const Status flushed = flush_volume(); !flushed) {
    warn("warning: the mirror may not be on the disk yet: " + flushed.error().text + "\n");
  }
}

}  // namespace mrb::vfs
