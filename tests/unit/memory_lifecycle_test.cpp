// Whole contexts: listed, moved, copied, exported, imported, and folders as contexts.

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "memory_home.h"
#include "platform/paths.h"

namespace mrb::memory {
namespace {

using test::MemoryHome;

/// A home whose answers show its folder as "%", and commands name it so.
class Lineup : public testing::Test {
 protected:
  std::string run(std::string line) {
    replace(line, "%", folder());  // with "/" behind it: both separators are understood
    std::string answer = home_.run(line);
    replace(answer, folder(), "%");
    if (platform::PathSeparator() == '\\' && !answer.contains("bad context id")) {
      replace(answer, "\\", "/");
    }
    return answer;
  }

  void expect(const std::string& line, const std::string& answer) {
    EXPECT_EQ(run(line), answer) << line;
  }

  [[nodiscard]] std::string folder() const {
    const std::string path = home_.path("x");
    return path.substr(0, path.size() - 2);
  }

  static void replace(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
      text.replace(at, from.size(), to);
    }
  }

  MemoryHome home_;
};

TEST_F(Lineup, ListsAndBrowses) {
  expect("contexts me",
         "OK: 0 context(s) under %\n  (none yet — memory.add <botid>, {ctx}, <topic>, , <content> "
         "creates the first)\n");
  run("add me, b, t, , one");
  run("addmemo me, b, u, , , two words");
  run("addmemo me, b, t, , , three");
  run("add me, a, t, , text");
  home_.write("old", "data.mem", "MRB2");
  home_.reopen();
  expect("browse me, b",
         "OK: context 'b' — 2 topic(s)\n  t  2 memo(s)\n  u  1 memo(s)\n"
         "4 keyword(s), 124 bytes");
  expect("browse me, none",
         "OK: context 'none' — 0 topic(s)\n  (empty — memory.add puts the first record here)\n");
  expect("list me",
         "OK: 3 context(s) under %\n  a  41 bytes on disk (not loaded)\n  b  2 topic(s), 124 bytes "
         "(loaded)\n  old  4 bytes on disk (not loaded, pre-MRB4: imports on first touch)");
}

TEST_F(Lineup, Moves) {
  run("add me, a, t, , first");
  run("add me, b, t, , other");
  expect("rename me, a",
         "ERROR: usage  memory.rename <botid>, <context>, <new-id>   (new-id must "
         "differ)");
  expect("rename me, a, a",
         "ERROR: usage  memory.rename <botid>, <context>, <new-id>   (new-id "
         "must differ)");
  expect("rename me, a, b", "ERROR: target already exists: %/b");
  expect("rename me, none, c", "ERROR: no context 'none'");
  expect("rename me, a, ../c",
         "ERROR: bad context id '../c' — none of / \\ : * ? \" < > | , { } is "
         "allowed");
  expect("rename me, a, c", "OK: context 'a' renamed to 'c'");
  EXPECT_EQ(home_.read("c", "context.id"), "c");
  expect("retrieve me, c, t", "first");
  expect("retrieve me, a, t", "");
  expect("archive me, c",
         "OK: context 'c' archived -> %/.archive/c  (memory.unarchive brings it back)");
  expect("retrieve me, c, t", "");
  expect("archive me, c", "ERROR: no context 'c'");
  run("add me, c, t, , new");
  expect("archive me, c", "ERROR: target already exists: %/.archive/c");
  expect("unarchive me, c", "ERROR: target already exists: %/c");
  expect("purge me, c",
         "OK: context 'c' purged -> %/.purged/c-1700000000  (bytes kept; move the "
         "folder back to resurrect)");
  expect("unarchive me, c", "OK: context 'c' restored to the lineup (%/c)");
  expect("unarchive me, c", "ERROR: no archived context 'c'");
  expect("retrieve me, c, t", "first");
  ++home_.now;
  expect("purge me, c",
         "OK: context 'c' purged -> %/.purged/c-1700000001  (bytes kept; move the "
         "folder back to resurrect)");
  expect("contexts me", "OK: 1 context(s) under %\n  b  1 topic(s), 39 bytes (loaded)");
}

TEST_F(Lineup, CopiesWhole) {
  run("addmemo me, a, t, kw, note, first");
  run("addmemo me, a, u, , , other");
  ++home_.now;
  run("addmemo me, a, t, , todo|note, second");
  home_.reopen();
  expect("export me, a, %/out",
         "OK: context 'a' exported -> %/out (129 bytes, 2 topic(s); "
         "memory.import merges it anywhere)");
  expect("import me, b, %/out", "OK: imported 3 memo(s) across 2 topic(s) (2 new) from %/out");
  EXPECT_EQ(home_.read("b", "data.mrb4"), home_.read("a", "data.mrb4"));
  expect("import me, b, %/out", "OK: imported 3 memo(s) across 2 topic(s) (0 new) from %/out");
  expect("retrieve me, b, t", "first\nsecond\nfirst\nsecond");
  expect("getmemo me, b, t, 4", "OK: memo 4 of 't' [note|todo] @209  2023-11-14 22:13\nsecond");
  expect("export me, b, %/a",
         "OK: context 'b' exported -> %/a/b.mrb4 (254 bytes, 2 topic(s); "
         "memory.import merges it anywhere)");
  expect("clone me, a, c", "OK: cloned 'a' -> 'c' — 2 topic(s)");
  EXPECT_EQ(run("memos me, c, t"),
            "OK: 2 memo(s) in 't' of context 'c'\n  1  [note]  first\n"
            "  2  [note|todo]  second");
  expect("clone me, a, c", "ERROR: 'c' is not empty (2 topics) — clone wants a fresh context");
  expect("clone me, a, a",
         "ERROR: usage  memory.clone <botid>, <context>, <dst-context>  (dst must differ)");
  expect("clone me, none, d", "ERROR: no context 'none'");
  expect("export me, none, %/x", "ERROR: context 'none' has nothing on disk yet");
  EXPECT_TRUE(run("export me, a, %/none/x").starts_with("ERROR: could not write %/none/x  ["));
  expect("import me, a, %/none", "ERROR: no such file: %/none");
  expect("import me, a, %/a/context.id",
         "ERROR: not a memory store (MRB4, MRB3 or MRB2): %/a/context.id");
  EXPECT_FALSE(home_.exists("none"));
}

TEST_F(Lineup, ImportsLegacyStoresUnchanged) {
  // An untimed record of an old store, its vector bit set without room for a dimension.
  using namespace std::string_literals;
  const std::string old =
      "MRB2\x01\x00\x00\x80\x02\x00\x00\x00hi\x01\x00\x00\x00t\x00\x00\x00\x00"s;
  home_.write("src", "data.mem", old);
  expect("import me, a, %/src/data.mem",
         "OK: imported 1 memo(s) across 1 topic(s) (1 new) from %/src/data.mem");
  run("addmemo me, a, t, , , after");
  home_.reopen();
  expect("retrieve me, a, t", "hi\nafter");
  EXPECT_NE(run("stats me, a").find("topics:    1  (1 untimed, migrated from MRB2)"),
            std::string::npos);
  EXPECT_EQ(home_.read("src", "data.mem"), old);
}

TEST_F(Lineup, IndexesFolders) {
  home_.write("src", "notes.txt", "Hello World");
  home_.write("src", "Photo-2024.raw", std::string("a\0b", 3));
  expect("indexdir me, files, %/src", "OK: indexed 2 file(s) from %/src into context 'files'");
  home_.write("src", "notes.txt", "Hello again");
  expect("indexdir me, files, %/src", "OK: indexed 2 file(s) from %/src into context 'files'");
  expect("retrieve me, files, notes.txt", "Hello again");
  expect("keywords me, files, world", "ERROR: keyword 'world' not in context 'files'");
  expect("retrieve me, files, Photo-2024.raw", "%/src/Photo-2024.raw");
  EXPECT_TRUE(run("keywords me, files, 2024.raw").starts_with("OK: 1 memo hit(s):"));
  expect("indexdir me, files, %/none", "ERROR: no such directory: %/none");
}

TEST_F(Lineup, VersionsOfAFileAreMemosOfItsTopic) {
  MemoryHome::Options options;
  options.file_versions = [](const std::string& folder) {
    using Versions = std::vector<FileVersion>;
    return folder.ends_with("src") ? std::optional(Versions{{"x.c", "int a;", 1'600'000'000},
                                                            {"x.c", "int b;", 1'650'000'000}})
                                   : std::nullopt;
  };
  home_.set(options);
  home_.write("src", "unversioned", "text");
  expect("indexdir me, c, %/src", "OK: indexed 1 file(s) from %/src into context 'c'");
  expect("indexdir me, c, %/src", "OK: indexed 1 file(s) from %/src into context 'c'");
  expect("getmemo me, c, x.c, 2", "OK: memo 2 of 'x.c' [untyped] @47  2022-04-15 05:20\nint b;");
  expect("getmemo me, c, x.c, 3", "ERROR: 'x.c' has 2 memo(s) in context 'c' — n is 1-based");
}

TEST_F(Lineup, MovesAndWritesSideBySide) {
  constexpr int kRounds = 60;
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    for (int i = 0; i < kRounds; ++i) (void)home_.run("add me, a, t, , text");
  });
  threads.emplace_back([&] {
    for (int i = 0; i < kRounds; ++i)
      (void)home_.run(i % 2 == 0 ? "rename me, a, b" : "rename me, b, a");
  });
  threads.emplace_back([&] {
    for (int i = 0; i < kRounds; ++i) {
      (void)home_.run(i % 2 == 0 ? "clone me, a, b" : "clone me, b, a");
      (void)home_.run("contexts me");
      (void)home_.run("archive me, b");
      (void)home_.run("unarchive me, b");
    }
  });
  for (std::thread& thread : threads) thread.join();
  (void)home_.run("unarchive me, b");
  home_.reopen();
  const std::string both = run("retrieve me, a, t") + run("retrieve me, b, t");
  EXPECT_TRUE(both == "text" || both == "texttext") << both;
}

}  // namespace
}  // namespace mrb::memory
