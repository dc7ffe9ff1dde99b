#include "vfs/store_snapshot.h"

#include <cstring>
#include <utility>

namespace mrb::vfs {
namespace {

constexpr std::size_t kNameBlock = 1U << 16;

std::string_view Copied(std::string_view text, std::pmr::monotonic_buffer_resource& memory) {
  if (text.empty()) return {};
  void* const copy = memory.allocate(text.size(), 1);
  std::memcpy(copy, text.data(), text.size());
  return {static_cast<const char*>(copy), text.size()};
}

SnapshotFile Seen(const VersionRecord& record) {
  SnapshotFile seen;
  seen.version = record.version;
  seen.is_deleted = record.tombstone;
  seen.author = record.author;
  seen.stamp = record.stamp;
  seen.bytes = record.bytes;
  return seen;
}

}  // namespace

StoreSnapshot TakeSnapshot(std::shared_ptr<VersionStore> store, SnapshotOf what) {
  StoreSnapshot snapshot;
  snapshot.names = std::make_unique<std::pmr::monotonic_buffer_resource>(kNameBlock);
  snapshot.store = std::move(store);
  const VersionStore::Lock guard = snapshot.store->lock();
  const std::vector<File*>& files = snapshot.store->table().in_order();
  const LockTable& locks = snapshot.store->locks();
  snapshot.files.reserve(files.size());
  for (const File* file : files) {
    if (file->history.empty()) continue;
    const std::string_view path = Copied(file->name, *snapshot.names);
    const bool is_locked = !locks.holder(file->name).empty();
    const bool needs_merge = locks.is_flagged(file->name);
    const std::size_t first = what == SnapshotOf::kNewest ? file->history.size() - 1 : 0;
    for (std::size_t i = first; i < file->history.size(); ++i) {
      SnapshotFile& seen = snapshot.files.emplace_back(Seen(file->history[i]));
      seen.path = path;
      seen.is_locked = is_locked;
      seen.needs_merge = needs_merge;
      seen.has_older = i == 0 && seen.version > 1;
    }
  }
  return snapshot;
}

}  // namespace mrb::vfs
