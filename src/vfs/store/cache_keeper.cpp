#include "vfs/store/cache_keeper.h"

#include <algorithm>

#include "vfs/mirror/file_bytes.h"

namespace mrb::vfs {

Result<Blob> CacheKeeper::read(VersionStore& store, const std::string& path) {
  std::uint32_t now = 0;
  {
    const std::scoped_lock guard(mutex_);
    now = ++clock_;
  }
  return store.read_cached(path, now);
}

std::size_t CacheKeeper::drop_old(const std::vector<std::shared_ptr<VersionStore>>& stores) {
  const std::uint64_t available = memory_().available;
  if (available == 0 || available >= limits_.drop_below) return 0;
  std::vector<std::pair<std::uint32_t, VersionStore*>> uses;
  for (const auto& store : stores) {
    if (!store->is_cache()) continue;
    for (const std::uint32_t used : store->cached_uses()) uses.emplace_back(used, store.get());
  }
  std::ranges::sort(uses);
  // What is freed may stay with the process for a while, so it is counted, not asked for.
  std::uint64_t freed = 0;
  std::size_t dropped = 0;
  for (const auto& [used, store] : uses) {
    if (available + freed >= limits_.drop_until) break;
    freed += store->drop_cached(used);
    ++dropped;
  }
  return dropped;
}

}  // namespace mrb::vfs
