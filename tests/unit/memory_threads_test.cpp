// Many callers at once. Run under the thread sanitizer this also checks the locks themselves.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "common/answer.h"
#include "memory_home.h"

namespace mrb::memory {
namespace {

using test::MemoryHome;

TEST(MemoryThreads, AddersAndReadersShareContexts) {
  constexpr int kAdders = 3;
  constexpr int kAdds = 25;
  MemoryHome home;
  (void)home.run("add me, c0, t, , start");
  home.reopen();  // the first touch of the loaded context is a race as well
  std::atomic<int> adders = kAdders;
  std::vector<std::jthread> threads;
  threads.reserve(kAdders + 2);
  for (int adder = 0; adder < kAdders; ++adder) {
    threads.emplace_back([&, adder] {
      for (int i = 0; i < kAdds; ++i) {
        const std::string line = "addmemo me, c" + std::to_string(i % 2) + ", t" +
                                 std::to_string(adder) + ", , , memo " + std::to_string(i);
        EXPECT_FALSE(IsErrorAnswer(home.run(line)));
      }
      --adders;
    });
  }
  for (int reader = 0; reader < 2; ++reader) {
    threads.emplace_back([&, reader] {
      const std::string context = "me, c" + std::to_string(reader);
      while (adders > 0) {
        EXPECT_FALSE(IsErrorAnswer(home.run("recent " + context)));
        EXPECT_FALSE(IsErrorAnswer(home.run("stats " + context)));
        (void)home.run("retrieve " + context + ", t1");
        (void)home.run("keywords " + context + ", memo 2023");
        (void)home.run("cachekeys " + context + ", m");
        for (const char* verb : {"search me, *, memo", "contexts me"}) {
          EXPECT_FALSE(IsErrorAnswer(home.run(verb)));
        }
        EXPECT_TRUE(home.run("lint " + context).starts_with("OK:"));
      }
    });
  }
  threads.clear();
  for (const bool reloaded : {false, true}) {
    if (reloaded) home.reopen();
    for (int adder = 0; adder < kAdders; ++adder) {
      std::string expected[2];
      for (int i = 0; i < kAdds; ++i) {
        expected[i % 2] += (i < 2 ? "memo " : "\nmemo ") + std::to_string(i);
      }
      const std::string topic = ", t" + std::to_string(adder);
      EXPECT_EQ(home.run("retrieve me, c0" + topic), expected[0]);
      EXPECT_EQ(home.run("retrieve me, c1" + topic), expected[1]);
    }
    EXPECT_EQ(home.run("retrieve me, c0, t"), "start");
  }
}

}  // namespace
}  // namespace mrb::memory
