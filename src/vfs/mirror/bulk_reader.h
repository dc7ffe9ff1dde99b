#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "platform/files.h"
#include "vfs/model/blob.h"

namespace mrb::vfs {

/// Reads many files into memory, equal ones once. One for each thread; the pool is shared by all,
/// and used under the mutex alone as long as any of them reads.
class BulkReader {
 public:
  BulkReader(platform::FileSystem& files, BlobPool& pool, std::mutex& pool_mutex)
      : files_(files), pool_(pool), pool_mutex_(pool_mutex) {}

  /// The whole file, pooled. `size` is what it is believed to be; another one costs time alone. The
  /// errors are those of ReadBlob().
  [[nodiscard]] Result<Blob> read(const std::string& path, std::uint64_t size);

 private:
  [[nodiscard]] Blob pooled(std::string_view bytes);

  platform::FileSystem& files_;
  BlobPool& pool_;
  std::mutex& pool_mutex_;
  std::vector<char> scratch_;
  BlobSlab slab_;
};

}  // namespace mrb::vfs
