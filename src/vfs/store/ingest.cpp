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

#include "common/parallel.h"
#include "common/text.h"
#include "platform/files.h"
#include "platform/system_info.h"
#include "platform/tree_visitor.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/model/reserved_names.h"

namespace mrb::vfs {
namespace {

constexpr std::uint64_t kMemoryMargin = std::uint64_t{2} << 30U;
constexpr std::size_t kFilesPerTurn = 16;
constexpr std::size_t kProgressStep = 256;  // a multiple of it

}  // namespace

class Ingest::Look final : public platform::TreeVisitor {
 public:
  explicit Look(Ingest& ingest) : ingest_(ingest), report_(ingest.tree_.report) {}

  bool enter(std::string_view folder) override {
    if (ingest_.source_.rules.enters(folder)) return true;
    if (!IsReservedName(BaseName(folder))) report_.pruned.emplace_back(folder);
    return false;
  }

  void file(std::string_view path, const platform::FileStatus& status) override {
    if (IsReservedName(BaseName(path))) return;
    if (status.size > kMaxFile) {
      report_.unreadable.emplace_back(path);
      ingest_.excluded_.emplace(path);
      return;
    }
    if (!ingest_.source_.rules.admits(path, status.size)) {
      report_.exclude(path, status.size);
      ingest_.excluded_.emplace(path);
      return;
    }
    IngestedFile& file = ingest_.tree_.files.emplace_back();
    file.path = path;
    file.on_disk = true;
    file.status = status;
    ingest_.walked_bytes_ += status.size;
  }

  void skipped(std::string_view path, Skipped why) override {
    switch (why) {
      case Skipped::kLink:
        ++report_.links;
        break;
      case Skipped::kSpecial:
        ++report_.special_files;
        break;
      case Skipped::kUnreadable:
        report_.unreadable.emplace_back(path);
        break;
    }
  }

  /// The watcher's first pass, before which nobody is answered, comes soon.
  platform::FolderMemory* memory() override { return &ingest_.tree_.folders; }

 private:
  Ingest& ingest_;
  IngestReport& report_;
};

Ingest::Ingest(const IngestSource& source, IngestProgress progress, std::string only)
    : source_(source),
      files_(*source.places.files),
      progress_(std::move(progress)),
      only_(std::move(only)),
      chains_(source.places, looks_, [this](const std::string& line) { warn(line); }) {}

Result<IngestedTree> Ingest::run() {
  if (source_.places.disk_root.empty()) {
    return Fail(ErrorKind::kInvalidArgument,
                "no disk root (enroll a directory, or setRelativePath/setDiskRoot)");
  }
  if (Status looked = look(); !looked) return std::unexpected(looked.error());
  warn_of_memory();
  known_.resize(tree_.files.size());
  if (source_.places.mirror != nullptr) merge_known();
  if (tree_.is_fill) {
    if (Status begun = begin_fill(); !begun) return std::unexpected(begun.error());
  }
  read_all();
  return std::move(tree_);
}

void Ingest::warn(const std::string& line) {
  const std::scoped_lock guard(mutex_);
  if (source_.setup.warn) source_.setup.warn(line);
}

Status Ingest::walk_tree() {
  if (source_.rules.has_single_files()) {
    look_at_followed_files();
    return {};
  }
  Look visitor(*this);
  if (Status walked = files_.walk(source_.places.disk_root, visitor); !walked) {
    return walked;
  }
  // In the order of names, so that two runs over one tree are alike.
  std::ranges::sort(tree_.files, {}, &IngestedFile::path);
  return {};
}

/// Of the files that are followed, all are read, or the one that was asked for.
bool Ingest::wants(const std::string& followed) const {
  return only_.empty() || followed == only_;
}

void Ingest::look_at_followed_files() {
  for (const std::string& path : source_.rules.followed()) {
    if (!wants(path)) continue;
    const auto status = files_.status(source_.places.working(path));
    if (!status || status->type != platform::FileStatus::Type::kFile) continue;
    IngestedFile& file = tree_.files.emplace_back();
    file.path = path;
    file.on_disk = true;
    file.status = *status;
  }
}

void Ingest::warn_of_memory() {
  const std::uint64_t available = platform::ReadSystemMemory().available;
  if (available == 0 || available >= walked_bytes_ + kMemoryMargin) return;
  std::array<char, 200> line{};
  (void)std::snprintf(line.data(), line.size(),
                      "warning: performance may be degraded due to memory constraints (loading "
                      "%" PRIu64 " bytes, ~%" PRIu64 " free after)\n",
                      walked_bytes_, available > walked_bytes_ ? available - walked_bytes_ : 0);
  warn(line.data());
}

/// At the tree, the mirror and the journal, each on a thread of its own.
Status Ingest::look() {
  std::array<Status, 3> looked;
  const auto one = [&](std::size_t which) {
    if (which == 0) looked[which] = walk_tree();
    if (source_.places.mirror == nullptr) return;
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
  return files_.syncs_in_parallel();
}

Status Ingest::scan_mirror() {
  auto contents = ScanMirror(source_.places);
  if (!contents) return std::unexpected(contents.error());
  contents_ = *std::move(contents);
  return {};
}

Status Ingest::read_journal() {
  const auto damaged = source_.journal.read(
      [this](Change change) { changes_[change.path].push_back(std::move(change)); });
  if (!damaged) return std::unexpected(damaged.error());
  if (*damaged > 0) {
    warn("warning: " + std::to_string(*damaged) + " damaged line(s) in " +
         source_.places.mirror->journal() + " passed over\n");
  }
  return {};
}

/// Without it every copy is read, and compared with its working file.
void Ingest::read_stat_cache() {
  const std::string& boot_id = source_.setup.boot_id;
  if (boot_id.empty()) return;
  const auto bytes = platform::ReadFile(files_, source_.places.mirror->stat_cache());
  if (!bytes) return;
  if (auto looks = StatCache::read(*bytes, boot_id)) looks_ = *std::move(looks);
}

/// Gives every file what the journal and the mirror know of it, and adds those that are in neither
/// the tree nor the filters' reach any more.
void Ingest::merge_known() {
  const bool cut_off = platform::Exists(files_, source_.places.mirror->filling_mark());
  tree_.is_fill = (cut_off || (contents_.empty() && changes_.empty())) && !source_.setup.follower &&
                  source_.setup.policy.scope == Policy::Scope::kAll;
  for (std::size_t i = 0; i < known_.size(); ++i) {
    const std::string& path = tree_.files[i].path;
    if (const auto told = changes_.find(path); told != changes_.end()) {
      known_[i].changes = std::move(told->second);
      changes_.erase(told);
    }
    if (const auto found = contents_.find(MirrorLayout::key(path)); found != contents_.end()) {
      if (!cut_off || !known_[i].changes.empty()) known_[i].facts = std::move(found->second);
      contents_.erase(found);
    }
  }
  for (auto& [path, of_path] : changes_) {
    const auto found = contents_.find(MirrorLayout::key(path));
    if (found == contents_.end() || is_left_out(path)) continue;
    tree_.files.emplace_back().path = path;
    known_.push_back({std::move(found->second), std::move(of_path)});
    contents_.erase(found);
  }
  if (!cut_off) add_vanished();
}

/// Files that only the mirror knows: its journal was lost.
void Ingest::add_vanished() {
  for (auto& [key, facts] : contents_) {
    if (is_left_out(key)) continue;
    tree_.files.emplace_back().path = key;
    known_.push_back({std::move(facts), {}});
  }
}

/// Whether a file that was not found in the tree may be there all the same, or is none of ours now.
bool Ingest::is_left_out(const std::string& path) const {
  if (source_.rules.has_single_files()) {
    return !source_.rules.followed().contains(path) || !wants(path);
  }
  if (excluded_.contains(path)) return true;
  return std::ranges::any_of(tree_.report.unreadable, [&](const std::string& folder) {
    return path == folder ||
           (path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/');
  });
}

Status Ingest::begin_fill() {
  const MirrorLayout& layout = *source_.places.mirror;
  if (Status made = platform::MakeDirectories(files_, layout.bookkeeping_folder()); !made) {
    return made;
  }
  return platform::ReplaceFile(files_, layout.filling_mark(), std::string_view());
}

void Ingest::read_all() {
  const std::size_t count = tree_.files.size();
  const auto start = [this, count] {
    return [this, count, reader = BulkReader(files_, source_.pool, mutex_)](
               std::size_t begin, std::size_t end) mutable {
      for (std::size_t i = begin; i < end; ++i) read_file(tree_.files[i], known_[i], reader);
      if (progress_ && begin % kProgressStep == 0) progress_(begin, count);
    };
  };
  if (may_run_parallel()) {
    ParallelFor(count, kFilesPerTurn, start);
  } else {
    auto work = start();
    work(0, count);
  }
  if (progress_) progress_(count, count);
}

void Ingest::read_file(IngestedFile& file, const KnownOfFile& known, BulkReader& reader) {
  if (file.on_disk) read_working_file(file, reader);
  file.next_archive = FirstFreeArchive(known.facts);
  if (!known.facts.empty() || !known.changes.empty()) chains_.read(file, known, reader);
  if (file.records.empty() && file.is_read && tree_.is_fill && source_.places.mirrors(file.path)) {
    fill(file);
  }
}

void Ingest::read_working_file(IngestedFile& file, BulkReader& reader) {
  auto bytes = reader.read(source_.places.working(file.path), file.status.size);
  file.is_read = bytes.has_value();
  if (bytes) {
    file.bytes = *std::move(bytes);
  } else if (bytes.error().kind == ErrorKind::kNotFound) {
    file.on_disk = false;
  } else {
    file.failed = true;
    const std::scoped_lock guard(mutex_);
    tree_.report.unreadable.push_back(file.path);
  }
}

void Ingest::fill(IngestedFile& file) {
  const Status filled = fill_copy(file);
  if (filled) return;
  file.failed = true;
  warn("warning: mirror write failed for '" + source_.places.working(file.path) +
       "': " + filled.error().text + " — version chain not archived\n");
}

/// Not flushed where the volume is flushed in the end.
Status Ingest::fill_copy(const IngestedFile& file) const {
  const std::string copy = source_.places.mirror_copy(file.path);
  const auto mode = platform::FileSystem::OpenMode::kReplace;
  auto opened = files_.open(copy, mode);
  if (!opened && opened.error().kind == ErrorKind::kNotFound) {
    if (Status made = MakeFoldersInside(files_, source_.places.mirror->root(), file.path,
                                        FolderAccess::kPrivate, false);
        !made) {
      return made;
    }
    opened = files_.open(copy, mode);
  }
  if (!opened) return std::unexpected(opened.error());
  Status written = (*opened)->append(file.bytes.bytes());
  if (written && !files_.syncs_volumes()) written = (*opened)->sync();
  if (!written) static_cast<void>(files_.remove_file(copy));  // half of it would pass for a version
  return written;
}

}  // namespace mrb::vfs
