#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

namespace mrb {

/// Shares `count` pieces of work out to all cores, `per_turn` of them at a time: every thread calls
/// start() once for a function of its own and that function, work(begin, end), for one range after
/// the other. Ranges begin in rising order. The caller's thread takes part, and does it all where
/// the system refuses others. The first exception of any of them is thrown again here.
template <typename Start>
void ShareOut(std::size_t count, std::size_t per_turn, Start start) {
  const std::size_t turns = (count + per_turn - 1) / per_turn;
  const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
  std::vector<std::exception_ptr> failures(std::clamp<std::size_t>(turns, 1, cores));
  std::atomic<std::size_t> next = 0;
  const auto run = [&](std::exception_ptr& failure) {
    try {
      auto work = start();
      for (std::size_t at = next.fetch_add(per_turn); at < count; at = next.fetch_add(per_turn)) {
        work(at, std::min(at + per_turn, count));
      }
    } catch (...) {
      failure = std::current_exception();
    }
  };
  {
    std::vector<std::jthread> threads;
    threads.reserve(failures.size());
    for (std::size_t i = 1; i < failures.size(); ++i) {
      try {
        threads.emplace_back([&run, &failure = failures[i]] { run(failure); });
      } catch (const std::system_error&) {
        break;
      }
    }
    run(failures[0]);
  }
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
}

}  // namespace mrb
