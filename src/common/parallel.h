#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace mrb {

/// Runs work(0) … work(count - 1), each on a thread of its own, the caller's among them, and
/// returns when all are done. Where the system refuses a thread, the caller's does its share. The
/// first exception of any of them is thrown again here.
template <typename Work>
void RunParallel(std::size_t count, Work work) {
  std::vector<std::exception_ptr> failures(count);
  const auto run = [&](std::size_t i) {
    try {
      work(i);
    } catch (...) {
      failures[i] = std::current_exception();
    }
  };
  {
    std::vector<std::jthread> threads;
    threads.reserve(count);
    for (std::size_t i = 1; i < count; ++i) {
      try {
        threads.emplace_back(run, i);
      } catch (const std::system_error&) {
        run(i);
      }
    }
    run(0);
  }
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
}

/// Shares `count` pieces of work out to all cores, `per_turn` of them at a time: every thread calls
/// start() once for a function of its own and that function, work(begin, end), for one range after
/// the other. Ranges begin in rising order. Threads and exceptions as with RunParallel().
template <typename Start>
void ParallelFor(std::size_t count, std::size_t per_turn, Start start) {
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

/// Runs `body` on a new thread that nobody waits for; false, and nothing run, when the system has
/// none to give. Any thread.
[[nodiscard]] inline bool StartDetachedThread(std::function<void()> body) {
  try {
    std::thread(std::move(body)).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace mrb
