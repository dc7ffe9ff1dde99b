#pragma once

#include <cstdint>
#include <string>

#include "memory/record/memo_table.h"
#include "memory/record/record_heap.h"
#include "platform/files.h"

namespace mrb::memory {

/// What a store file held.
struct LoadedStore {
  enum class Kind {
    kEmpty,    ///< no bytes, or fewer than a magic of a file whose creation was cut short
    kCurrent,  ///< the heap is what the file holds behind its magic, up to the dropped bytes
    kLegacy,   ///< converted while reading: the file differs from the heap
    kForeign,  ///< not a store at all; the heap is empty
  };
  Kind kind = Kind::kEmpty;
  RecordHeap heap;
  PagedArray<MemoRow> rows;  ///< offset and keyword count only, see RecordWalk
  std::uint64_t file_size = 0;
  std::uint64_t dropped = 0;    ///< bytes behind the last whole record
  bool vector_missing = false;  ///< the last record ends for want of a dimension word
};

/// Reads the store file `path` on up to `threads` threads (0: as many as suit its size) and finds
/// its records. The file is not changed. kNotFound when there is none.
[[nodiscard]] Result<LoadedStore> LoadStoreFile(platform::FileSystem& files,
                                                const std::string& path, std::size_t threads = 0);

}  // namespace mrb::memory
