#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "common/error.h"

namespace mrb::workstation {

/// What happens in a resident, for pages that follow it: a numbered list whose last events are
/// kept, and a wait for the next one. Thread-safe; adding never waits for a reader.
class EventFeed {
 public:
  struct Limits {
    std::size_t kept = 4096;     ///< a page that missed more than these reads everything anew
    std::size_t waiting = 64;    ///< each holds one of the server's 512 connections
    std::size_t answered = 500;  ///< events in one batch
  };

  /// `first`: the number of the first event. Numbers of a later feed should be higher, so that a
  /// page that outlives a restart notices.
  explicit EventFeed(std::uint64_t first) : EventFeed(first, Limits()) {}
  EventFeed(std::uint64_t first, Limits limits) : limits_(limits), next_(first) {}

  /// Adds an event, the members of a JSON object without its braces, and wakes who waits.
  void add(std::string members);

  struct Batch {
    std::uint64_t last = 0;  ///< what the next wait() passes
    bool missed = false;     ///< events between `after` and the first of these are gone
    std::vector<std::string> events = {};
  };

  /// The events behind number `after`; waits while there are none. 0 answers at once, without any:
  /// where to begin. kBusy when too many wait already.
  [[nodiscard]] Result<Batch> wait(std::uint64_t after, std::chrono::milliseconds longest);

  /// Whoever waits, now or later, is answered at once.
  void close();

 private:
  [[nodiscard]] Batch batch_after(std::uint64_t after) const;

  const Limits limits_;
  std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_:
  std::deque<std::string> events_;  // the last of them has the number next_ - 1
  std::uint64_t next_;
  std::size_t waiting_ = 0;
  bool closed_ = false;
};

}  // namespace mrb::workstation
