// Looking at the tree: every difference between the disk and the newest versions becomes a version,
// a tombstone or a restore.
//
// A pass over an unchanged tree is one walk and one table lookup a file, the lock taken for each
// lookup alone so that saves go on meanwhile. What looks different is looked at again, one by one,
// with the lock held: by then a save of ours may have explained it. Deletes come first, as a name
// that was a file may be a folder now.

#include <algorithm>
#include <utility>

#include "platform/paths.h"
#include "platform/tree_visitor.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs {
namespace {

// Up to this many files are flushed one by one; more of them wait for one flush of the volume.
constexpr std::size_t kFewFiles = 4;
constexpr std::chrono::seconds kMaxPause{64};
constexpr int kMaxWaits = 5;

bool IsBelow(std::string_view path, std::string_view folder) {
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

}  // namespace

class VersionStore::TreeScan final : public platform::TreeVisitor {
 public:
  TreeScan(VersionStore& store, std::uint32_t pass) : store_(store), pass_(pass) {}

  bool enter(std::string_view folder) override { return store_.enters(folder); }

  void file(std::string_view path, const platform::FileStatus& status) override {
    const Lock guard = store_.lock();
    File* known = find(path);
    if (known != nullptr) known->pass = pass_;
    if (known != nullptr && SameStat(known->seen, status)) return;
    if (store_.admits(path, status.size) && status.size <= kMaxFile) changed.emplace_back(path);
  }

  void skipped(std::string_view path, Skipped why) override {
    if (why == Skipped::kUnreadable) unreadable.emplace_back(path);
  }

  platform::FolderMemory* memory() override { return &store_.folders_; }

  std::vector<std::string> changed;
  std::vector<std::string> unreadable;

 private:
  /// An unchanged tree is walked in the same order each time.
  File* find(std::string_view path) {
    File* expected = last_ == nullptr ? nullptr : last_->after;
    File* known = expected != nullptr && expected->name == path ? expected : store_.find(path);
    if (known == nullptr) return nullptr;
    if (last_ != nullptr) last_->after = known;
    last_ = known;
    // The system's next answer takes longer than this memory takes to come.
    if (const File* next = known->after; next != nullptr) {
      __builtin_prefetch(next->name.data());
      __builtin_prefetch(next->after);
    }
    return known;
  }

  VersionStore& store_;
  const std::uint32_t pass_;
  File* last_ = nullptr;
};

bool VersionStore::reconcile() {
  if (setup_.follower || is_cache()) return false;
  const bool pending = scan_tree();
  remember_when_due();
  return pending;
}

bool VersionStore::scan_tree() {
  if (setup_.category == StoreCategory::kSingleFiles) {
    bool pending = false;
    std::set<std::string> paths;
    {
      const Lock guard = lock();
      paths = rules_.followed();
    }
    for (const std::string& path : paths) {
      pending = reconcile_file(path) || pending;
    }
    return pending;
  }
  const std::scoped_lock one_walk(walking_);
  std::uint32_t pass = 0;
  {
    const Lock guard = lock();
    pass = ++pass_;
  }
  TreeScan look(*this, pass);
  // A root that cannot be read has lost nothing: it may come back.
  if (!places_.files->walk(places_.disk_root, look)) return false;

  std::vector<std::string> paths;
  {
    const Lock guard = lock();
    for (const auto& file : table_.files()) {
      if (file->pass == pass || file->is_gone()) continue;
      const bool hidden = std::ranges::any_of(look.unreadable, [&](const std::string& folder) {
        return file->name == folder || IsBelow(file->name, folder);
      });
      if (!hidden && admits(file->name, file->history.back().bytes.bytes().size()))
        paths.push_back(file->name);
    }
  }
  std::ranges::move(look.changed, std::back_inserter(paths));
  if (paths.empty()) return false;
  const bool flush_later = places_.files->syncs_volumes() && paths.size() > kFewFiles;
  bool pending = false;
  for (const std::string& path : paths)
    pending = recheck(path, flush_later, Haste::kWaits) || pending;
  if (flush_later) pending = !flush_volume() || pending;
  return pending;
}

bool VersionStore::reconcile_file(std::string_view path) {
  return recheck(path, false, Haste::kNow);
}

/// What passes over the tree write goes to the mirror alone.
Status VersionStore::flush_volume() {
  if (places_.mirror == nullptr) return {};
  return places_.files->sync_volume(layout_.root());
}

/// Programs empty a file before they write it: what is there between would be a version that
/// nobody saved.
bool VersionStore::may_be_in_a_save(const std::string& path, const platform::FileStatus& status) {
  const auto settle = std::chrono::duration_cast<std::chrono::nanoseconds>(setup_.settle).count();
  const std::int64_t age = NowNanoseconds() - std::max(status.modified_ns, status.changed_ns);
  if (age < 0 || age >= settle || ++waited_[path] > kMaxWaits) {
    waited_.erase(path);
    return false;
  }
  return true;
}

/// True: it must be tried again.
bool VersionStore::unreadable(const Error& error) {
  message_ = error.text;
  return true;
}

bool VersionStore::recheck(std::string_view path, bool flush_later, Haste haste) {
  const Lock guard = lock();
  if (setup_.follower || is_cache() || !may_try(std::string(path))) return false;
  const std::string target = working_path(path);
  File* file = find(path);
  const auto status = places_.files->status(target);
  if (!status || status->type != platform::FileStatus::Type::kFile) {
    if (!status && status.error().kind != ErrorKind::kNotFound) return unreadable(status.error());
    return file != nullptr && !file->is_gone() && record_external_delete(*file);
  }
  if (file != nullptr && !file->is_gone() && SameStat(file->seen, *status)) return false;
  if (!admits(path, status->size) || status->size > kMaxFile) return false;
  if (haste == Haste::kWaits && may_be_in_a_save(std::string(path), *status)) return true;
  const std::int64_t now = NowNanoseconds();
  auto bytes = ReadBlob(*places_.files, target);
  if (!bytes) return bytes.error().kind != ErrorKind::kNotFound && unreadable(bytes.error());
  const auto after = places_.files->status(target);
  if (!after || !SameStat(*status, *after)) return true;  // still being written
  if (file == nullptr) file = &touch(path);
  return record_external_change(*file, *std::move(bytes), Trusted(*status, now), flush_later);
}

/// The answer is whether it must be tried again.
bool VersionStore::record_external_change(File& file, Blob bytes,
                                          const platform::FileStatus& status, bool flush_later) {
  const Blob newest = file.history.empty() ? Blob() : file.history.back().bytes;
  if (!file.is_gone() && newest.equals(bytes)) {
    file.seen = status;
    ++edits_;
    return false;
  }
  const std::string author = std::exchange(author_, setup_.outside_author());
  Outcome failure;
  const VersionRecord* before = file.is_gone() ? file.newest_content() : nullptr;
  if (before != nullptr && before->bytes.equals(bytes)) {
    failure = withdraw_tombstone(file);
  } else {
    file.content = std::move(bytes);
    failure = mint(file, {Writes::kMirror, flush_later});
    if (failure) file.content = newest;
  }
  author_ = author;
  if (failure) return external_change_failed(file, *failure);
  failing_.erase(file.name);
  file.seen = status;
  return false;
}

bool VersionStore::record_external_delete(File& file) {
  const std::string author = std::exchange(author_, setup_.outside_author());
  const Outcome failure = append_tombstone(file, false);
  author_ = author;
  if (failure) return external_change_failed(file, *failure);
  failing_.erase(file.name);
  return false;
}

/// Told once; then tried again at longer and longer intervals.
bool VersionStore::external_change_failed(const File& file, const VersionWrite::Failure& failure) {
  message_ = failure.reason;
  const auto [retry, first] = failing_.try_emplace(file.name);
  if (first) {
    warn(failure.step == Step::kArchive
             ? "watch archive failed for '" + file.name + "' — keeping baseline, will retry\n"
             : "watch mirror refresh failed for '" + file.name + "'\n");
  }
  retry->second.next = std::chrono::steady_clock::now() + retry->second.pause;
  retry->second.pause = std::min(retry->second.pause * 2, kMaxPause);
  return true;
}

bool VersionStore::may_try(const std::string& path) const {
  const auto retry = failing_.find(path);
  return retry == failing_.end() || std::chrono::steady_clock::now() >= retry->second.next;
}

}  // namespace mrb::vfs
