#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <thread>

#include "common/parallel.h"

namespace mrb {

/// Shares `count` pieces of work out to all cores, `per_turn` of them at a time: every thread calls
/// start() once for a function of its own and that function, work(begin, end), for one range after
/// the other. Ranges begin in rising order. Threads and exceptions as with RunParallel().
template <typename Start>
void ShareOut(std::size_t count, std::size_t per_turn, Start start) {
  const std::size_t turns = (count + per_turn - 1) / per_turn;
  const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
  std::atomic<std::size_t> next = 0;
  RunParallel(std::clamp<std::size_t>(turns, 1, cores), [&](std::size_t /*thread*/) {
    auto work = start();
    for (std::size_t at = next.fetch_add(per_turn); at < count; at = next.fetch_add(per_turn)) {
      work(at, std::min(at + per_turn, count));
    }
  });
}

}  // namespace mrb
