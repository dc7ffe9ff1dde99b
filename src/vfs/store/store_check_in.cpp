// How a version comes to be: the rules of check-in, and the one place where a record is appended,
// written and, when that fails, taken back.

#include "vfs/mirror/file_bytes.h"
#include "vfs/model/reserved_names.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs {

namespace {

// A file that is saved every second must not fill the memory of a resident that runs for months:
// past twice the window that a start would load, the oldest records stay on the disk alone.
constexpr std::size_t kHeldAfterTrim = kArchivedInMemory + 1;
constexpr std::size_t kMaxHeld = 2 * kHeldAfterTrim;
constexpr std::size_t kMaxChanges = 10'000;

constexpr std::string_view kMergeNotice =
    "merge required (file was flagged dirty by an earlier op)";

}  // namespace

/// The file that a change is asked for; null, with the reason in the message, when it cannot be.
File* VersionStore::writable_file(iFileSystemObj* node) {
  message_.clear();
  if (node == nullptr || node->kind != iFileSystemObj::kFile) {
    message_ = "not a file";
    return nullptr;
  }
  if (HasReservedPart(node->name)) {
    message_ = ReservedNameReason(node->name);
    return nullptr;
  }
  if (setup_.follower) {
    message_ = "watcher owned by another Mirebolt process — read-only follower";
    return nullptr;
  }
  return static_cast<File*>(node);
}

/// The lock rule. Over another's lock only a dirty save may pass; it flags the file for a merge.
bool VersionStore::may_write(const File& file, bool dirty) {
  if (!locks_.held_by_other(file.name, author_)) {
    message_ = locks_.is_flagged(file.name) ? kMergeNotice : std::string_view();
    return true;
  }
  const std::string holder = locks_.holder(file.name);
  if (!dirty) return refuse("file is locked (" + holder + ")");
  locks_.flag(file.name);
  message_ = "dirty check-in over " + holder + "'s lock — merge required (both parties)";
  return true;
}

bool VersionStore::check_in(iFileSystemObj* node, bool dirty) {
  const Lock guard = lock();
  File* file = writable_file(node);
  if (file == nullptr) return false;
  if (is_cache()) return promote(file);
  if (!may_write(*file, dirty)) return false;
  if (!absorb_external_change(*file)) return false;
  if (!file->is_gone() && file->history.back().bytes.equals(file->content)) return true;
  return answer(mint(*file, {}));
}

bool VersionStore::promote(iFileSystemObj* node) {
  const Lock guard = lock();
  File* file = writable_file(node);
  if (file == nullptr) return false;
  VersionWrite write(places_, file->name, file->content.bytes());
  write.leave_mirror();
  auto failure = write.write_temporaries();
  if (!failure) failure = write.commit_working();
  if (!failure) failure = write.sync(nullptr);
  if (failure) return answer(failure);
  look_at(*file);
  return true;
}

/// Another program may have saved the file since the last look at it. That save becomes a version
/// of its own before it is written over; false, with the reason, when it cannot be archived. The
/// caller's working bytes stay the working bytes.
bool VersionStore::absorb_external_change(File& file) {
  const Blob content = file.content;
  const std::string message = message_;
  if (const auto retry = failing_.find(file.name); retry != failing_.end()) retry->second.next = {};
  message_ = working_path(file.name) + " is still being written";
  const bool pending = reconcile_file(file.name);
  file.content = content;
  if (pending) return false;
  message_ = message;
  return true;
}

void VersionStore::append_record(File& file, Blob bytes, bool tombstone) {
  VersionRecord record;
  record.version = file.history.empty() ? 1 : file.history.back().version + 1;
  record.author = AuthorName(author_);
  record.stamp = setup_.now();
  record.bytes = std::move(bytes);
  record.tombstone = tombstone;
  // One record is what most files have: grow by one, then as vectors do.
  if (file.history.empty()) file.history.reserve(1);
  file.history.push_back(std::move(record));
  if (tombstone) file.seen = {};
  file.follow_history();
}

void VersionStore::take_back(File& file) {
  file.history.pop_back();
  file.follow_history();
}

VersionWrite::Outcome VersionStore::mint(File& file, const Minting& minting) {
  file.content = pool_.intern(file.content);
  append_record(file, file.content, false);
  return write_version(file, minting);
}

Change VersionStore::change_of(const File& file, ChangeKind kind) const {
  Change change;
  change.version = file.version;
  change.author = file.author.text();
  change.stamp = file.stamp;
  change.kind = kind;
  change.path = file.name;
  change.size = file.history.empty() ? 0 : file.history.back().bytes.bytes().size();
  return change;
}

/// Writes the newest record. What the archive is about to take is the newest contents before it.
VersionWrite::Outcome VersionStore::write_version(File& file, const Minting& minting) {
  const VersionRecord* before = nullptr;
  for (const VersionRecord& record : file.history) {
    if (!record.tombstone && &record != &file.history.back()) before = &record;
  }
  const bool seeds = setup_.policy.scope == Policy::Scope::kEdited && before != nullptr &&
                     file.history.size() >= 2;
  VersionWrite write(places_, file.name, file.content.bytes());
  if (minting.writes == Writes::kMirror) write.leave_working_file();
  if (minting.flush_later) write.flush_later();
  if (auto failure = write.reserve_archive(file.next_archive, seeds)) {
    return write_failed(file, *std::move(failure));
  }
  if (seeds) {
    if (auto failure = write.archive_original(before->bytes.bytes())) {
      return write_failed(file, *std::move(failure));
    }
  }
  if (auto failure = write.write_temporaries()) return write_failed(file, *std::move(failure));
  if (auto failure = write.commit_working()) return write_failed(file, *std::move(failure));
  Change change = change_of(file, file.version == 1 ? ChangeKind::kCreate : ChangeKind::kModify);
  if (write.archived() != 0 && before != nullptr) {
    change.archived = write.archived();
    change.holds = before->version;
  }
  if (const Status logged = log(change); !logged) {
    return write_failed(file, {"vc journal write failed", Step::kJournal, true});
  }
  auto failure = write.commit_mirror();
  if (!failure) {
    failure = write.sync(&journal_);
    if (failure) write.undo_mirror();
  }
  if (failure) return write_failed(file, *std::move(failure));
  if (write.archived() != 0) file.next_archive = write.archived() + 1;
  if (file.history.size() > kMaxHeld && places_.mirrors(file.name)) {
    file.history.erase(file.history.begin(), file.history.end() - kHeldAfterTrim);
  }
  if (minting.writes == Writes::kBoth) look_at(file);
  return {};
}

VersionWrite::Outcome VersionStore::write_failed(File& file, VersionWrite::Failure failure) {
  if (failure.of_mirror) {
    if (!failing_.contains(file.name))
      warn("warning: mirror write failed for '" + working_path(file.name) + "': " + failure.reason +
           " — version chain not archived\n");
    // The journal may have announced the version already; this line takes it back.
    (void)log(change_of(file, ChangeKind::kMirrorFail));
  }
  take_back(file);
  return failure;
}

/// Appends to the change log; the journal is flushed by whoever writes the change.
Status VersionStore::log(const Change& change) {
  ++edits_;
  if (changes_.size() >= kMaxChanges) {
    changes_.erase(changes_.begin(), changes_.begin() + kMaxChanges / 2);
  }
  changes_.push_back(change);
  if (setup_.changed) setup_.changed(*this, change);
  if (!places_.mirrors(change.path)) return {};
  return journal_.append(ChangeLine(change));
}

/// Remembers how the working file looks now that its bytes are the newest version's.
void VersionStore::look_at(File& file) {
  const auto status = places_.files->status(working_path(file.name));
  file.seen = status ? Trusted(*status, NowNanoseconds()) : platform::FileStatus();
}

}  // namespace mrb::vfs
