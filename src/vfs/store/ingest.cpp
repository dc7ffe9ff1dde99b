// From disk to memory. The tree is walked, the journal and the mirror's names are read, then the
// bytes of every file and its archived versions on all cores. A mirror that holds nothing yet is
// filled in the same go: its copies are written without a flush each, and one flush of the volume
// ends it; a mark in the mirror tells the next start of a fill that was cut off, whose copies prove
// nothing.

#include "vfs/store/ingest.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ranges>

#include "common/parallel.h"
#include "common/text.h"
#include "platform/files.h"
#include "platform/local_time.h"
#include "platform/paths.h"
#include "platform/system_info.h"
#include "platform/tree_visitor.h"
#include "vfs/mirror/bulk_reader.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/model/reserved_names.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kMaxSamples = 200;
constexpr std::uint64_t kMemoryMargin = std::uint64_t{2} << 30U;
constexpr std::size_t kItemsPerTurn = 16;
constexpr std::size_t kProgressStep = 256;  // a multiple of it
constexpr std::size_t kFewFiles = 4;
constexpr std::size_t kComparePiece = 65536;

std::string Extension(std::string_view path) {
  const std::string_view name = BaseName(path);
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? "(no ext)" : LowerAscii(name.substr(dot + 1));
}

VersionStamp StampOf(std::int64_t nanoseconds) {
  const CivilTime time = platform::LocalTime(nanoseconds);
  return {static_cast<std::uint32_t>(time.year),
          time.month,
          time.day,
          time.hour,
          time.minute,
          time.second};
}

/// Whether a file holds just these bytes; any failure to read it says no.
bool HoldsBytes(platform::FileSystem& files, const std::string& path, std::string_view bytes) {
  const auto file = files.open(path, platform::FileSystem::OpenMode::kRead);
  if (!file) return false;
  std::array<char, kComparePiece> piece;  // NOLINT: filled by the system before it is looked at
  std::size_t at = 0;
  for (;;) {
    const auto got = (*file)->read_at(at, piece.data(), piece.size());
    if (!got || at + *got > bytes.size()) return false;
    if (*got == 0) return at == bytes.size();
    if (std::memcmp(piece.data(), bytes.data() + at, *got) != 0) return false;
    at += *got;
  }
}

/// A history as lines of the journal, for one that its journal did not tell.
std::string LinesOf(const std::string& path, const std::vector<PlannedRecord>& plan) {
  std::string lines;
  std::uint32_t newest = 0;
  for (const PlannedRecord& planned : plan) {
    Change change;
    change.version = planned.version;
    change.author = planned.author.text();
    change.stamp = planned.stamp == VersionStamp() ? StampOf(planned.modified_ns) : planned.stamp;
    change.kind = planned.tombstone      ? ChangeKind::kDelete
                  : planned.version == 1 ? ChangeKind::kCreate
                                         : ChangeKind::kModify;
    change.path = path;
    change.carried = true;
    if (planned.source.kind == ByteSource::Kind::kArchive) {
      change.archived = planned.source.number;
      change.holds = planned.version;
    }
    if (planned.tombstone) change.tombstone_version = newest;
    newest = planned.source.kind == ByteSource::Kind::kTombstone ? planned.version : 0;
    lines += ChangeLine(change);
  }
  return lines;
}

}  // namespace

class Ingest::Look final : public platform::TreeVisitor {
 public:
  explicit Look(Ingest& ingest) : ingest_(ingest) {}

  bool enter(std::string_view folder) override {
    if (!ingest_.store_.never_enters(folder)) return true;
    if (!IsReservedName(BaseName(folder))) ingest_.report_.pruned.emplace_back(folder);
    return false;
  }

  void file(std::string_view path, const platform::FileStatus& status) override {
    if (IsReservedName(BaseName(path))) return;
    if (status.size > kMaxFile) {
      ingest_.report_.unreadable.emplace_back(path);
      ingest_.excluded_.emplace(path);
      return;
    }
    if (!ingest_.store_.admits(path, status.size)) {
      ++ingest_.report_.excluded_files;
      ingest_.report_.excluded_bytes += status.size;
      ++ingest_.report_.excluded_by_extension[Extension(path)];
      ingest_.excluded_.emplace(path);
      return;
    }
    Item item;
    item.path = path;
    item.on_disk = true;
    item.status = status;
    ingest_.items_.push_back(std::move(item));
    ingest_.walked_bytes_ += status.size;
  }

  void skipped(std::string_view path, Skipped why) override {
    switch (why) {
      case Skipped::kLink:
        ++ingest_.report_.links;
        break;
      case Skipped::kSpecial:
        ++ingest_.report_.special_files;
        break;
      case Skipped::kUnreadable:
        ingest_.report_.unreadable.emplace_back(path);
        break;
    }
  }

  /// The watcher's first pass, before which nobody is answered, comes soon.
  platform::FolderMemory* memory() override { return &ingest_.store_.folders_; }

 private:
  Ingest& ingest_;
};

Result<IngestReport> Ingest::run() {
  if (store_.places_.disk_root.empty()) {
    return Fail(ErrorKind::kInvalidArgument,
                "no disk root (enroll a directory, or setRelativePath/setDiskRoot)");
  }
  if (Status looked = look(); !looked) return std::unexpected(looked.error());
  warn_of_memory();
  if (store_.places_.mirror != nullptr) merge_known();
  if (fills_) {
    if (Status begun = begin_fill(); !begun) return std::unexpected(begun.error());
  }
  read_all();
  for (Item& item : items_) place(item);
  if (!guessed_lines_.empty() && !store_.setup_.follower) {
    // Before anything is built on the guess: the next start must come to the same.
    if (Status told = store_.journal_.append(guessed_lines_); !told) {
      return std::unexpected(told.error());
    }
    if (Status told = store_.journal_.sync(); !told) return std::unexpected(told.error());
  }
  if (fills_) {
    if (Status ended = end_fill(); !ended) return std::unexpected(ended.error());
  }
  settle_changes();
  for (const auto& file : store_.table_.files()) count(*file);
  return std::move(report_);
}

void Ingest::warn(const std::string& line) {
  const std::scoped_lock guard(mutex_);
  store_.warn(line);
}

Status Ingest::walk_tree() {
  if (store_.setup_.category == StoreCategory::kSingleFiles) {
    look_at_followed_files();
    return {};
  }
  Look visitor(*this);
  if (Status walked = store_.places_.files->walk(store_.places_.disk_root, visitor); !walked) {
    return walked;
  }
  // In the order of names, so that two runs over one tree are alike.
  std::ranges::sort(items_, {}, &Item::path);
  return {};
}

void Ingest::look_at_followed_files() {
  for (const std::string& path : store_.followed_) {
    if (!only_.empty() && path != only_) continue;
    const auto status = store_.places_.files->status(store_.working_path(path));
    if (!status || status->type != platform::FileStatus::Type::kFile) continue;
    Item item;
    item.path = path;
    item.on_disk = true;
    item.status = *status;
    items_.push_back(std::move(item));
  }
}

void Ingest::warn_of_memory() const {
  const std::uint64_t available = platform::ReadSystemMemory().available;
  if (available == 0 || available >= walked_bytes_ + kMemoryMargin) return;
  std::array<char, 200> line{};
  (void)std::snprintf(line.data(), line.size(),
                      "warning: performance may be degraded due to memory constraints (loading "
                      "%" PRIu64 " bytes, ~%" PRIu64 " free after)\n",
                      walked_bytes_, available > walked_bytes_ ? available - walked_bytes_ : 0);
  store_.warn(line.data());
}

/// At the tree, the mirror and the journal, each on a thread of its own.
Status Ingest::look() {
  std::array<Status, 3> looked;
  const auto one = [&](std::size_t which) {
    if (which == 0) looked[which] = walk_tree();
    if (store_.places_.mirror == nullptr) return;
    if (which == 1) looked[which] = scan_mirror();
    if (which == 2) {
      looked[which] = read_journal();
      read_stat_cache();
    }
  };
  if (may_run_parallel()) {
    RunParallel(looked.size(), one);
  } else {
    for (std::size_t which = 0; which < looked.size(); ++which) one(which);
  }
  for (const Status& status : looked) {
    if (!status) return status;
  }
  return {};
}

/// Faults are injected by number: one thread, so that a number means the same operation each time.
bool Ingest::may_run_parallel() const {
  return store_.places_.files->syncs_in_parallel();
}

Status Ingest::scan_mirror() {
  auto contents = ScanMirror(store_.places_);
  if (!contents) return std::unexpected(contents.error());
  contents_ = *std::move(contents);
  return {};
}

Status Ingest::read_journal() {
  const auto damaged = store_.journal_.read(
      [this](Change change) { changes_[change.path].push_back(std::move(change)); });
  if (!damaged) return std::unexpected(damaged.error());
  if (*damaged > 0) {
    warn("warning: " + std::to_string(*damaged) + " damaged line(s) in " +
         store_.layout_.journal() + " passed over\n");
  }
  return {};
}

/// Without it every copy is read, and compared with its working file.
void Ingest::read_stat_cache() {
  if (store_.setup_.boot_id.empty()) return;
  const auto bytes = platform::ReadFile(*store_.places_.files, store_.layout_.stat_cache());
  if (!bytes) return;
  if (auto looks = StatCache::read(*bytes, store_.setup_.boot_id)) looks_ = *std::move(looks);
}

/// Gives every item what the journal and the mirror know of it, and adds items for files that are
/// in neither the tree nor the filters' reach any more.
void Ingest::merge_known() {
  const bool cut_off = platform::Exists(*store_.places_.files, store_.layout_.filling_mark());
  fills_ = (cut_off || (contents_.empty() && changes_.empty())) && !store_.setup_.follower &&
           store_.setup_.policy.scope == Policy::Scope::kAll;
  for (Item& item : items_) {
    if (const auto known = changes_.find(item.path); known != changes_.end()) {
      item.changes = std::move(known->second);
      changes_.erase(known);
    }
    if (const auto found = contents_.find(MirrorLayout::key(item.path)); found != contents_.end()) {
      if (!cut_off || !item.changes.empty()) item.facts = std::move(found->second);
      contents_.erase(found);
    }
  }
  for (auto& [path, of_path] : changes_) {
    const auto found = contents_.find(MirrorLayout::key(path));
    if (found == contents_.end() || is_left_out(path)) continue;
    Item item;
    item.path = path;
    item.changes = std::move(of_path);
    item.facts = std::move(found->second);
    contents_.erase(found);
    items_.push_back(std::move(item));
  }
  if (!cut_off) add_vanished();
}

/// Files that only the mirror knows: its journal was lost.
void Ingest::add_vanished() {
  for (auto& [key, facts] : contents_) {
    if (is_left_out(key)) continue;
    Item item;
    item.path = key;
    item.facts = std::move(facts);
    items_.push_back(std::move(item));
  }
}

/// Whether a file that was not found in the tree may be there all the same, or is none of ours now.
bool Ingest::is_left_out(const std::string& path) const {
  if (store_.setup_.category == StoreCategory::kSingleFiles) {
    return !store_.followed_.contains(path) || (!only_.empty() && path != only_);
  }
  if (excluded_.contains(path)) return true;
  return std::ranges::any_of(report_.unreadable, [&](const std::string& folder) {
    return path == folder ||
           (path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/');
  });
}

Status Ingest::begin_fill() {
  platform::FileSystem& files = *store_.places_.files;
  if (Status made = platform::MakeDirectories(files, store_.layout_.bookkeeping_folder()); !made) {
    return made;
  }
  return platform::ReplaceFile(files, store_.layout_.filling_mark(), std::string_view());
}

void Ingest::read_all() {
  const auto start = [this] {
    return [this, reader = BulkReader(*store_.places_.files, store_.pool_, mutex_)](
               std::size_t begin, std::size_t end) mutable {
      for (std::size_t i = begin; i < end; ++i) read_item(items_[i], reader);
      if (progress_ && begin % kProgressStep == 0) progress_(begin, items_.size());
    };
  };
  if (may_run_parallel()) {
    ParallelFor(items_.size(), kItemsPerTurn, start);
  } else {
    auto work = start();
    work(0, items_.size());
  }
  if (progress_) progress_(items_.size(), items_.size());
}

void Ingest::read_item(Item& item, BulkReader& reader) {
  if (item.on_disk) {
    auto bytes = reader.read(store_.working_path(item.path), item.status.size);
    item.is_read = bytes.has_value();
    if (bytes) {
      item.bytes = *std::move(bytes);
    } else if (bytes.error().kind == ErrorKind::kNotFound) {
      item.on_disk = false;
    } else {
      item.failed = true;
      const std::scoped_lock guard(mutex_);
      report_.unreadable.push_back(item.path);
    }
  }
  if (!item.facts.empty() || !item.changes.empty()) read_records(item, reader);
  if (item.records.empty() && item.is_read && fills_ && store_.places_.mirrors(item.path)) {
    const Status filled = fill_copy(item);
    if (filled) return;
    item.failed = true;
    warn("warning: mirror write failed for '" + store_.working_path(item.path) +
         "': " + filled.error().text + " — version chain not archived\n");
  }
}

void Ingest::read_records(Item& item, BulkReader& reader) {
  auto [plan, guessed] = PlanChain(item.facts, item.changes);
  if (guessed) item.lines = LinesOf(item.path, plan);
  for (const PlannedRecord& planned : plan) {
    if (planned.source.kind == ByteSource::Kind::kTombstone)
      item.tombstone_version = planned.version;
  }
  if (item.facts.archives.size() > kArchivedInMemory) {
    std::array<char, 120> counts{};
    (void)std::snprintf(counts.data(), counts.size(),
                        "' has %zu archived versions; loading the most recent %zu into RAM (older "
                        "remain on disk)\n",
                        item.facts.archives.size(), kArchivedInMemory);
    warn("warning: '" + item.path + counts.data());
    // The newest version is no archived one.
    if (plan.size() > kArchivedInMemory + 1) {
      plan.erase(plan.begin(), plan.end() - static_cast<std::ptrdiff_t>(kArchivedInMemory + 1));
    }
  }
  for (std::size_t i = 0; i < plan.size(); ++i) {
    const PlannedRecord& planned = plan[i];
    VersionRecord record;
    record.version = planned.version;
    record.author = planned.author;
    record.stamp = planned.stamp == VersionStamp() ? StampOf(planned.modified_ns) : planned.stamp;
    record.tombstone = planned.tombstone;
    if (!planned.tombstone) {
      const std::string path = SourcePath(store_.places_, item.path, planned.source);
      // The newest version is nearly always what the working file holds.
      if (i + 1 == plan.size() && copy_is_working_file(item, planned)) {
        record.bytes = item.bytes;
      } else if (auto bytes = reader.read(path, item.facts.copy.size)) {
        record.bytes = *std::move(bytes);
      } else {
        warn("warning: version " + std::to_string(planned.version) + " of '" + item.path +
             "' cannot be read: " + bytes.error().text + "\n");
        continue;
      }
    }
    item.records.push_back(std::move(record));
  }
}

/// Whether the mirror's copy is the source of a version and holds the bytes that were read from the
/// working file.
bool Ingest::copy_is_working_file(const Item& item, const PlannedRecord& planned) const {
  const platform::FileStatus& copy = item.facts.copy;
  if (!item.is_read || planned.source.kind != ByteSource::Kind::kCopy) return false;
  if (copy.size != item.bytes.bytes().size()) return false;
  platform::FileSystem& files = *store_.places_.files;
  const StatEntry* known = looks_.find(item.path);
  if (known != nullptr && known->version == planned.version && SameStat(known->copy, copy) &&
      SameStat(known->working, item.status)) {
    // The file was read after its status was: both are of one state only if it still looks so.
    const auto now = files.status(store_.working_path(item.path));
    if (now && SameStat(*now, item.status)) return true;
  }
  return HoldsBytes(files, store_.places_.mirror_copy(item.path), item.bytes.bytes());
}

/// Not flushed where the volume is flushed in the end.
Status Ingest::fill_copy(const Item& item) const {
  platform::FileSystem& files = *store_.places_.files;
  const MirrorLayout& layout = store_.layout_;
  const std::string copy = store_.places_.mirror_copy(item.path);
  const auto mode = platform::FileSystem::OpenMode::kReplace;
  auto file = files.open(copy, mode);
  if (!file && file.error().kind == ErrorKind::kNotFound) {
    if (Status made =
            MakeFoldersInside(files, layout.root(), item.path, FolderAccess::kPrivate, false);
        !made) {
      return made;
    }
    file = files.open(copy, mode);
  }
  if (!file) return std::unexpected(file.error());
  Status written = (*file)->append(item.bytes.bytes());
  if (written && !files.syncs_volumes()) written = (*file)->sync();
  if (!written) static_cast<void>(files.remove_file(copy));  // half of it would pass for a version
  return written;
}

/// The copies first, then the journal that vouches for them, then the mark may go.
Status Ingest::end_fill() {
  platform::FileSystem& files = *store_.places_.files;
  if (files.syncs_volumes()) {
    if (Status flushed = files.sync_volume(store_.layout_.root()); !flushed) return flushed;
  }
  if (Status logged = store_.journal_.append(new_lines_); !logged) return logged;
  if (Status flushed = store_.journal_.sync(); !flushed) return flushed;
  return files.remove_file(store_.layout_.filling_mark());
}

/// Into the store's table, with the history that is known; what differs from it comes later.
void Ingest::place(Item& item) {
  if (!item.on_disk && item.records.empty()) return;
  File& file = store_.table_.add(item.path);
  file.next_archive = FirstFreeArchive(item.facts);
  file.tombstone_version = item.tombstone_version;
  guessed_lines_ += item.lines;
  if (item.records.empty()) return place_new(item, file);
  file.history = std::move(item.records);
  file.follow_history();
  file.content = file.history.back().bytes;
  if (item.failed) return;
  const bool same = item.on_disk && !file.is_gone() && file.content.equals(item.bytes);
  if (same) file.seen = Trusted(item.status, NowNanoseconds());
  if (same || (!item.on_disk && file.is_gone())) return;
  changed_.push_back(&item);
}

void Ingest::place_new(Item& item, File& file) {
  if (!item.is_read || item.failed) return;
  const bool joins_mirror = store_.places_.mirrors(item.path) && !store_.setup_.follower &&
                            store_.setup_.policy.scope == Policy::Scope::kAll;
  if (joins_mirror && !fills_) {
    changed_.push_back(&item);
    return;
  }
  file.content = item.bytes;
  store_.append_record(file, file.content, false);
  file.seen = Trusted(item.status, NowNanoseconds());
  if (joins_mirror) new_lines_ += ChangeLine(store_.change_of(file, ChangeKind::kCreate));
}

/// What changed while nobody watched. Deletes come first: a file's name may be a folder's now.
void Ingest::settle_changes() {
  if (store_.setup_.follower) return;
  const bool flush_later = store_.places_.files->syncs_volumes() && changed_.size() > kFewFiles;
  for (const Item* item : changed_) {
    File* file = store_.table_.find(item->path);
    if (!item->on_disk) store_.record_external_delete(*file);
  }
  for (Item* item : changed_) {
    if (!item->on_disk) continue;
    File* file = store_.table_.find(item->path);
    store_.record_external_change(*file, std::move(item->bytes),
                                  Trusted(item->status, NowNanoseconds()), flush_later);
  }
  if (!flush_later) return;
  if (const Status flushed = store_.flush_volume(); !flushed) {
    warn("warning: the mirror may not be on the disk yet: " + flushed.error().text + "\n");
  }
}

void Ingest::count(const File& file) {
  for (const VersionRecord& record : file.history) {
    report_.history_bytes += record.bytes.bytes().size();
  }
  if (file.is_gone()) return;
  const std::uint64_t size = file.history.back().bytes.bytes().size();
  report_.history_bytes -= size;
  report_.current_bytes += size;
  ++report_.files;
  ++report_.by_extension[Extension(file.name)];
  if (report_.sample.size() < kMaxSamples) report_.sample.push_back(file.name);
}

Result<IngestReport> VersionStore::ingest(const Progress& progress) {
  const Lock guard = lock();
  if (setup_.outside_author) author_ = setup_.outside_author();
  auto report = Ingest(*this, progress).run();
  platform::ReturnFreedMemory();  // what was only needed to read it all
  return report;
}

}  // namespace mrb::vfs
