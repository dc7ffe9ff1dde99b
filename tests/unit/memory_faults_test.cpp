// Power cuts and failing disks: a script of verbs is played again and again, each time with another
// disk operation failing or being the last one. What was answered "OK" must be there afterwards;
// the verb that failed has happened or has not; memory and disk agree.

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "common/answer.h"
#include "memory_home.h"
#include "platform/faulty_files.h"

namespace mrb::memory {
namespace {

using test::MemoryHome;

using Script = std::vector<std::string>;

const Script kMemoScript = {
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

const Script kContextScript = {
    "add me, c, t, , first",     "addmemo me, c, u, , note, second",
    "export me, c, %/out",       "clone me, c, d",
    "rename me, c, e",           "archive me, d",
    "import me, e, %/out",       "purge me, e",
    "unarchive me, d",           "addmemo me, d, v, , , third",
    "indexdir me, c, %/.purged", "import me, d, %/out",
};

const Script kModelScript = {
    "addmemo me, c, t, , , first",
    "addmemo me, c, u, , , second",
    "addmemo me, c, t, , , third",
    "cachekeys me, c, m",
    "cachekey me, c, m, t#1=a; u#1=b; t#2=c",
    "update me, c, u, 1, , , second but longer",
    "embed me, c, on",
    "cachekey me, c, m, u#1=d",
    "deletememo me, c, t, 1",
    "addmemo me, c, v, , , fourth",
    "add me, c, u, , replaced",
    "rename me, c, e",
    "deletememo me, e, t, 1",
    "embed me, e, off",
    "forgetmodel me, e, m",
};

/// One line, with the home's folder for "%".
std::string Play(MemoryHome& home, const std::string& line) {
  const std::size_t mark = line.find('%');
  return home.run(mark == std::string::npos
                      ? line
                      : line.substr(0, mark) + home.path(".") + line.substr(mark + 1));
}

/// All that the verbs show of the contexts, and where their folders are.
std::string State(MemoryHome& home) {
  std::string out;
  for (const char* folder : {"e", ".archive/d", ".purged/e-1700000000"}) {
    out += home.exists(folder, "data.mrb4") ? folder : "-";
  }
  for (const char* context : {"c", "d", "e"}) {
    out += home.run(std::string("models me, ") + context) + "\n";
    for (const char* file : {"embed.cfg", "model-m.ovm"}) {
      out += home.read(context, file) + "\n";
    }
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

Expected FaultFree(const Script& script) {
  MemoryHome home;
  Expected expected;
  expected.after.push_back(State(home));
  for (const std::string& line : script) {
    if (line.starts_with("add me, {c, d}")) {
      MemoryHome partly;
      for (const std::string& before : script) {
        if (before == line) break;
        (void)partly.run(before);
      }
      (void)partly.run("add me, c, v, , in both");
      expected.between = State(partly);
    }
    EXPECT_FALSE(IsErrorAnswer(Play(home, line))) << line;
    expected.after.push_back(State(home));
  }
  return expected;
}

class MemoryFaults : public testing::TestWithParam<std::tuple<const Script*, bool>> {};

TEST_P(MemoryFaults, WhatWasAnsweredOkIsThere) {
  const Script& script = *std::get<0>(GetParam());
  const bool crash = std::get<1>(GetParam());
  const Expected expected = FaultFree(script);
  std::uint64_t cases = 0;
  for (std::uint64_t n = 1;; ++n) {
    platform::FaultyFiles files(platform::SystemFiles());
    MemoryHome home(files);
    crash ? files.crash_at(n) : files.fail_at(n);
    std::size_t done = 0;  // lines before the first failure
    while (done < script.size() && !IsErrorAnswer(Play(home, script[done]))) ++done;
    if (done == script.size() && files.operations() < n) break;  // the script ended before n
    ++cases;
    std::set<std::string> allowed = {expected.after[done]};
    if (done < script.size()) allowed.insert(expected.after[done + 1]);
    if (done + 2 == script.size() && !expected.between.empty()) allowed.insert(expected.between);
    if (crash) {
      home.close();
      files.lose_unsynced();
    }
    files.reset();
    if (!crash) {  // the process lives on: what it shows is what a restart would show
      const std::string shown = State(home);
      EXPECT_TRUE(allowed.contains(shown)) << "operation " << n << " after " << done << shown;
      home.reopen();
      EXPECT_EQ(State(home), shown) << "operation " << n << " after " << done;
    }
    home.reopen();
    const std::string after = State(home);
    EXPECT_TRUE(allowed.contains(after)) << "operation " << n << " after " << done << after;
    EXPECT_EQ(home.run("addmemo me, w, t, , , still works").substr(0, 3), "OK:") << n;
    home.reopen();
    EXPECT_EQ(home.run("retrieve me, w, t"), "still works") << n;
    EXPECT_EQ(State(home), after) << n;
  }
  std::printf("%llu operations %s\n", static_cast<unsigned long long>(cases),
              crash ? "crashed at" : "failed");
  EXPECT_GT(cases, 3 * script.size());
}

INSTANTIATE_TEST_SUITE_P(FailAndCrash, MemoryFaults,
                         testing::Combine(testing::Values(&kMemoScript, &kContextScript,
                                                          &kModelScript),
                                          testing::Bool()));

}  // namespace
}  // namespace mrb::memory
