#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace mrb::memory {

/// Something of a context was written.
struct MemoryChange {
  enum class What : std::uint8_t {
    kAdded,    ///< a memo at the end of a topic
    kUpdated,  ///< a memo in its place
    kRemoved,  ///< memos taken out, or others put in their places
    kMoved     ///< the context itself: renamed, retired, parked, brought back
  };
  std::string_view context;
  What what = What::kAdded;
  std::string_view topic;  ///< the only one concerned; empty: any
};

/// Told of each change once it is on the disk, while the context is held: it must be quick and must
/// not use the memory.
using MemoryObserver = std::function<void(const MemoryChange&)>;

}  // namespace mrb::memory
