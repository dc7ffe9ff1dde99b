#include "vfs/store/store_snapshot.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

namespace mrb::vfs {
namespace {

constexpr std::size_t kNameBlock = 1U << 16;
constexpr std::size_t kBlock = 64;  // files whose memory is fetched together

std::string_view Copied(std::string_view text, std::pmr::monotonic_buffer_resource& memory) {
  if (text.empty()) return {};
  void* const copy = memory.allocate(text.size(), 1);
  std::memcpy(copy, text.data(), text.size());
  return {static_cast<const char*>(copy), text.size()};
}

/// Asks for what a look at each of these files reads, so that it waits for all of it once and not
/// for each file in turn.
void Prefetch(std::span<File* const> files) {
  for (const File* file : files) {
    __builtin_prefetch(file->name.data());
    __builtin_prefetch(file->name.data() + file->name.size());  // in the next line of the cache
    if (!file->history.empty()) __builtin_prefetch(&file->history.back());
  }
}

/// What is known of a file before its versions are looked at.
SnapshotFile FileOf(const File& file, const LockTable& locks) {
  SnapshotFile seen;
  seen.path = file.name;
  seen.is_deleted = file.history.back().tombstone;
  seen.is_locked = !locks.holder(file.name).empty();
  seen.needs_merge = locks.is_flagged(file.name);
  return seen;
}

/// Adds a file, with all its versions or the newest.
void Add(StoreSnapshot& snapshot, const File& file, const LockTable& locks, SnapshotOf what) {
  SnapshotFile seen = FileOf(file, locks);
  seen.path = Copied(file.name, *snapshot.names);
  const std::size_t first = what == SnapshotOf::kNewest ? file.history.size() - 1 : 0;
  for (std::size_t i = first; i < file.history.size(); ++i) {
    const VersionRecord& record = file.history[i];
    seen.version = record.version;
    seen.is_deleted = record.tombstone;
    seen.has_older = i == 0 && seen.version > 1;
    seen.author = record.author;
    seen.stamp = record.stamp;
    snapshot.files.push_back(seen);
    snapshot.files.back().bytes = record.bytes;
  }
}

}  // namespace

StoreSnapshot TakeSnapshot(std::shared_ptr<VersionStore> store, SnapshotOf what,
                           const WantsFile& wants) {
  StoreSnapshot snapshot;
  snapshot.names = std::make_unique<std::pmr::monotonic_buffer_resource>(kNameBlock);
  snapshot.store = std::move(store);
  const VersionStore::Lock guard = snapshot.store->lock();
  const LockTable& locks = snapshot.store->locks();
  std::span<File* const> rest = snapshot.store->table().in_order();
  std::vector<const File*> wanted;
  while (!rest.empty()) {
    const auto block = rest.first(std::min(rest.size(), kBlock));
    rest = rest.subspan(block.size());
    Prefetch(block);
    wanted.clear();
    for (const File* file : block) {
      if (file->history.empty() || (wants && !wants(FileOf(*file, locks)))) continue;
      file->history.back().bytes.prefetch();
      wanted.push_back(file);
    }
    for (const File* file : wanted) Add(snapshot, *file, locks, what);
  }
  return snapshot;
}

}  // namespace mrb::vfs
