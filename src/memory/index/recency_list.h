#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "memory/containers/name_table.h"

namespace mrb::memory {

/// Topics from the least to the most recently used, doubly linked by number. Touching one is a
/// reader's act too, so the list has a lock of its own: touch() and newest_first() may be called by
/// several threads at once, the rest by a writer that is alone.
class RecencyList {
 public:
  /// Adds topic number size() as the most recently used.
  void add();

  /// Forgets all and links the topics of `oldest_first`, which holds each number below its size
  /// once.
  void assign(const std::vector<std::uint32_t>& oldest_first);

  /// Makes the topic the most recently used.
  void touch(std::uint32_t topic);

  [[nodiscard]] std::vector<std::uint32_t> newest_first() const;

 private:
  struct Link {
    std::uint32_t older = kNoId;
    std::uint32_t newer = kNoId;
  };

  void append(std::uint32_t topic);  // mutex_ held
  void unlink(std::uint32_t topic);  // mutex_ held

  mutable std::mutex mutex_;
  std::vector<Link> links_;       // guarded by mutex_
  std::uint32_t oldest_ = kNoId;  // guarded by mutex_
  std::uint32_t newest_ = kNoId;  // guarded by mutex_
};

}  // namespace mrb::memory
