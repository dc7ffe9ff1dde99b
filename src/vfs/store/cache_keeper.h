#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/system_info.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs {

/// The RAM cache of stores without versions: a file joins when its contents are used, and the ones
/// that were used longest ago are dropped while memory is short. Stores with versions are never
/// touched. Thread-safe.
class CacheKeeper {
 public:
  struct Limits {
    std::uint64_t drop_below = std::uint64_t{8} << 30U;   ///< free memory, bytes
    std::uint64_t drop_until = std::uint64_t{10} << 30U;  ///< free memory, bytes
  };
  using Memory = std::function<platform::SystemMemory()>;

  CacheKeeper(Limits limits, Memory memory) : limits_(limits), memory_(std::move(memory)) {}

  /// The file's bytes: from memory when the file on the disk still looks the same.
  [[nodiscard]] Result<Blob> read(VersionStore& store, const std::string& path);

  /// Drops what was used longest ago in these stores, when memory is short; the number of files.
  std::size_t drop_old(const std::vector<std::shared_ptr<VersionStore>>& stores);

 private:
  const Limits limits_;
  const Memory memory_;
  std::mutex mutex_;
  std::uint32_t clock_ = 0;  // guarded by mutex_; counts uses
};

}  // namespace mrb::vfs
