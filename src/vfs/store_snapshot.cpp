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

StoreSnapshot TakeSnapshot(std::shared_ptr<VersionStore> store) {
  StoreSnapshot snapshot;
  snapshot.names = std::make_unique<std::pmr::monotonic_buffer_resource>(kNameBlock);
  snapshot.store = std::move(store);
  const VersionStore::Lock guard = snapshot.store->lock();
  const std::vector<File*>& files = snapshot.store->table().in_order();
  const LockTable& locks = snapshot.store->locks();
  snapshot.files.reserve(files.size());
  for (const File* file : files) {
    if (file->history.empty()) continue;
    SnapshotFile& seen = snapshot.files.emplace_back(Seen(file->history.back()));
    seen.path = Copied(file->name, *snapshot.names);
    seen.is_locked = !locks.holder(file->name).empty();
    seen.needs_merge = locks.is_flagged(file->name);
  }
  return snapshot;
}

}  // namespace mrb::vfs
