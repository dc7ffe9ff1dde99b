#include "platform/shared_mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace mrb::platform {
namespace {

/// The moment that breaks a lazily initialised lock is its very first use by several threads.
TEST(SharedMutexTest, KeepsFirstUsersApart) {
  constexpr int kTrials = 500;
  constexpr int kThreads = 4;
  for (int trial = 0; trial < kTrials; ++trial) {
    SharedMutex mutex;
    std::atomic<int> ready{0};
    int writers = 0;  // guarded by mutex
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        ++ready;
        while (ready < kThreads) std::this_thread::yield();
        if (i % 2 == 0) {
          const std::unique_lock alone(mutex);
          ++writers;
        } else {
          const std::shared_lock together(mutex);
          EXPECT_LE(writers, kThreads);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(writers, kThreads / 2);
  }
}

}  // namespace
}  // namespace mrb::platform
