#pragma once

#include <cstddef>
#include <exception>
#include <system_error>
#include <thread>
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
    if (failure) {
      std::rethrow_exception(failure);
    }
  }
}

}  // namespace mrb
