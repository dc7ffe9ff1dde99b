// Power cuts and failing disks: a script of verbs is played again and again, each time with another
// disk operation failing or being the last one. What was answered "OK" must be there afterwards;
// the verb that failed has happened or has not; memory and disk agree.

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "common/answer.h"
#include "memory_home.h"
#include "platform/faulty_files.h"

namespace mrb::memory {
namespace {

using test::MemoryHome;

const std::vector<std::string> kScript = {
    "add me, c, t, , first",
    "addmemo me, c, t, kw, note, second",
    "striptotokens no disk at all",
    "add me, c, u, , other",
    "addmemo me, c, t, , , third",
    "add me, c, u, , replaced",
    "update me, c, t, 2, , todo, second but longer",
    "deletememo me, c, t, 1",
    "addmemo me, c, v, , , fourth",
    "delete me, c, t",
    "add me, {c, d}, v, , in both",
    "addmemo me, c, u, , , fifth",
};

/// All that the verbs show of the two contexts.
std::string state(MemoryHome& home) {
  std::string out;
  for (const char* context : {"c", "d"}) {
    for (const char* topic : {"t", "u", "v"}) {
      out += home.run(std::string("memos me, ") + context + ", " + topic) + "\n" +
             home.run(std::string("retrieve me, ") + context + ", " + topic) + "\n";
    }
  }
  return out;
}

/// What each prefix of the script leads to when nothing fails. A verb that writes to two contexts
/// may also stop between them.
struct Expected {
  std::vector<std::string> after;  // [n]: state after n lines
  std::string between;             // "in both" written to c alone
};

Expected fault_free() {
  MemoryHome home;
  Expected expected;
  expected.after.push_back(state(home));
  for (const std::string& line : kScript) {
    if (line.starts_with("add me, {c, d}")) {
      MemoryHome partly;
      for (const std::string& before : kScript) {
        if (before == line) break;
        (void)partly.run(before);
      }
      (void)partly.run("add me, c, v, , in both");
      expected.between = state(partly);
    }
    EXPECT_FALSE(IsErrorAnswer(home.run(line))) << line;
    expected.after.push_back(state(home));
  }
  return expected;
}

class MemoryFaults : public testing::TestWithParam<bool> {};

TEST_P(MemoryFaults, WhatWasAnsweredOkIsThere) {
  const bool crash = GetParam();
  const Expected expected = fault_free();
  std::uint64_t cases = 0;
  for (std::uint64_t n = 1;; ++n) {
    platform::FaultyFiles files(platform::SystemFiles());
    MemoryHome home(files);
    crash ? files.crash_at(n) : files.fail_at(n);
    std::size_t done = 0;  // lines before the first failure
    while (done < kScript.size() && !IsErrorAnswer(home.run(kScript[done]))) ++done;
    if (done == kScript.size() && files.operations() < n) break;  // the script ended before n
    ++cases;
    std::set<std::string> allowed = {expected.after[done]};
    if (done < kScript.size()) allowed.insert(expected.after[done + 1]);
    if (done + 2 == kScript.size()) allowed.insert(expected.between);
    if (crash) {
      home.close();
      files.lose_unsynced();
    }
    files.reset();
    if (!crash) {  // the process lives on: what it shows is what a restart would show
      const std::string shown = state(home);
      EXPECT_TRUE(allowed.contains(shown)) << "operation " << n << " after " << done << shown;
      home.reopen();
      EXPECT_EQ(state(home), shown) << "operation " << n << " after " << done;
    }
    home.reopen();
    const std::string after = state(home);
    EXPECT_TRUE(allowed.contains(after)) << "operation " << n << " after " << done << after;
    EXPECT_EQ(home.run("addmemo me, c, w, , , still works").substr(0, 3), "OK:") << n;
    home.reopen();
    EXPECT_EQ(home.run("retrieve me, c, w"), "still works") << n;
    EXPECT_EQ(state(home), after) << n;
  }
  std::printf("%llu operations %s\n", static_cast<unsigned long long>(cases),
              crash ? "crashed at" : "failed");
  EXPECT_GT(cases, 3 * kScript.size());
}

INSTANTIATE_TEST_SUITE_P(FailAndCrash, MemoryFaults, testing::Bool());

}  // namespace
}  // namespace mrb::memory
