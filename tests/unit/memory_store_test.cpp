// The store file: damage, other formats, other owners.

#include <gtest/gtest.h>

#include <string>

#include "memory/record/record.h"
#include "memory_home.h"
#include "platform/file_lock.h"

namespace mrb::memory {
namespace {

using test::MemoryHome;

std::string Record(std::string_view topic, std::string_view content, std::uint64_t written = 7,
                   std::span<const float> vector = {}) {
  const std::string_view keyword = "kw";
  const RecordFields fields{.props = 1,
                            .written = written,
                            .content = content,
                            .topic = topic,
                            .keywords = std::span(&keyword, 1),
                            .vector = vector};
  std::string bytes(RecordLength(fields).value_or(0), '\0');
  WriteRecord(fields, bytes.data());
  return bytes;
}

/// The record as the oldest stores hold it.
std::string UntimedRecord(std::string_view topic, std::string_view content) {
  std::string bytes = Record(topic, content);
  return bytes.erase(4, 8);
}

TEST(StoreFile, CutAnywhereItKeepsItsWholeRecordsAndGrowsOn) {
  const float vector[] = {0.5F, 2.0F};
  const std::string pieces[] = {"MRB4", Record("t", "first"), Record("u", "other", 8, vector),
                                Record("t", "second")};
  std::string whole;
  for (const std::string& piece : pieces) whole += piece;
  MemoryHome home;
  std::size_t cases = 0;
  for (std::size_t size = 0; size <= whole.size(); ++size, ++cases) {
    const std::string context = "c" + std::to_string(size);
    home.write(context, "data.mrb4", whole.substr(0, size));
    std::size_t records = 0;
    std::size_t good = 4;
    while (records < 3 && good + pieces[records + 1].size() <= size) {
      good += pieces[++records].size();
    }
    // The second record may also end for want of its dimension word.
    const std::size_t dimension = pieces[2].size() - 12;
    const bool no_dimension =
        records == 1 && size >= good + dimension && size < good + dimension + 4;
    if (no_dimension) {
      ++records;
      good += dimension;
    }
    ASSERT_NE(
        home.run("stats me, " + context).find("\n  memos:     " + std::to_string(records) + "\n"),
        std::string::npos)
        << size;
    const std::string dropped = std::to_string(size - std::min(size, size < 4 ? 0 : good));
    ASSERT_EQ(home.run("stats me, " + context).find("dropped:   " + dropped) != std::string::npos,
              dropped != "0")
        << size;
    ASSERT_EQ(home.read(context, "data.mrb4"), whole.substr(0, size));  // reading changes nothing
    const std::string answer = home.run("addmemo me, " + context + ", t, , , third");
    const std::size_t offset = good - 4 + (no_dimension ? 4 : 0);
    ASSERT_NE(answer.find(" @" + std::to_string(offset) + " "), std::string::npos) << answer;
    const std::string expected =
        (records > 0 ? "first\n" : "") + std::string(records > 2 ? "second\n" : "") + "third";
    ASSERT_EQ(home.run("retrieve me, " + context + ", t"), expected) << size;
    home.reopen();
    ASSERT_EQ(home.run("retrieve me, " + context + ", t"), expected) << size;
    ASSERT_EQ(home.run("retrieve me, " + context + ", u"), records > 1 ? "other" : "") << size;
    ASSERT_EQ(home.run("stats me, " + context).find("dropped"), std::string::npos) << size;
  }
  EXPECT_EQ(cases, whole.size() + 1);
}

TEST(StoreFile, LegacyStoresAreImportedAndNeverRewritten) {
  MemoryHome home;
  const std::string old = "MRB2" + UntimedRecord("t", "ancient") + UntimedRecord("u", "older");
  home.write("two", "data.mem", old + "torn");
  EXPECT_EQ(home.run("recent me, two"),
            "OK: 2 most recent memo(s) in 'two' (newest first)\n"
            "  u#1 [procedure] @ untimed  older\n"
            "  t#1 [procedure] @ untimed  ancient");
  EXPECT_NE(home.run("stats me, two").find("2  (2 untimed, migrated from MRB2)"),
            std::string::npos);
  EXPECT_FALSE(home.exists("two", "data.mrb4"));
  (void)home.run("addmemo me, two, t, , , new");
  EXPECT_EQ(home.read("two", "data.mem"), old + "torn");
  EXPECT_TRUE(home.read("two", "data.mrb4")
                  .starts_with("MRB4" + Record("t", "ancient", 0) + Record("u", "older", 0)));
  home.reopen();
  EXPECT_EQ(home.run("retrieve me, two, t"), "ancient\nnew");
  EXPECT_EQ(home.run("recent me, two, 1").find("t#2"),
            home.run("recent me, two, 1").find("  t#") + 2);

  const std::string timed = "MRB3" + Record("t", "timed", 9);
  home.write("three", "data.mem", timed);
  EXPECT_EQ(home.run("delete me, three, t"),
            "OK: deleted 't' from context 'three' (previous file kept at data.mrb4.last)");
  EXPECT_EQ(home.read("three", "data.mem"), timed);
  EXPECT_EQ(home.read("three", "data.mrb4"), "MRB4");
  EXPECT_EQ(home.read("three", "data.mrb4.last"), "MRB4" + Record("t", "timed", 9));
}

TEST(StoreFile, WhatIsNoStoreReadsAsEmptyAndIsNotWritten) {
  MemoryHome home;
  for (const std::string& bytes : {std::string("PK\x03\x04 something else"), std::string("MRB5"),
                                   std::string("mr"), std::string("MRB2x").substr(0, 3) + "Z"}) {
    home.write("c", "data.mrb4", bytes);
    home.reopen();
    EXPECT_EQ(home.run("retrieve me, c, t"), "");
    EXPECT_NE(home.run("stats me, c").find("\n  refused:   "), std::string::npos);
    for (const char* line : {"add me, {d,c}, t, , x", "addmemo me, c, t, , , x"}) {
      EXPECT_TRUE(home.run(line).starts_with("ERROR: context 'c' cannot be written: ")) << bytes;
    }
    EXPECT_EQ(home.read("c", "data.mrb4"), bytes);
    EXPECT_FALSE(home.exists("d"));
  }
}

TEST(StoreFile, OneOwnerAtATime) {
  MemoryHome home;
  (void)home.run("add me, c, t, , mine");
  home.close();
  auto other = platform::FileLock::try_acquire(home.path("c", "context.lock"));
  ASSERT_TRUE(other);
  ASSERT_TRUE(other->write_note("4711"));
  home.reopen();
  const std::string busy = "context 'c' is in use by another mb process (pid 4711)";
  const std::string before = home.read("c", "data.mrb4");
  EXPECT_EQ(home.run("retrieve me, c, t"), "ERROR: " + busy);
  EXPECT_EQ(home.run("add me, {d, c}, t, , theirs"), "ERROR: " + busy);
  EXPECT_EQ(home.read("c", "data.mrb4"), before);
  EXPECT_FALSE(home.exists("d"));
  other = Fail(ErrorKind::kClosed, "gone");
  EXPECT_EQ(home.run("retrieve me, c, t"), "mine");
}

TEST(StoreFile, ChangesByOthersAreNoticed) {
  MemoryHome home;
  (void)home.run("add me, c, t, , mine");
  const std::string theirs = "MRB4" + Record("t", "theirs, longer than mine");
  home.write("c", "data.mrb4", theirs);
  EXPECT_NE(home.run("addmemo me, c, t, , , x").find("was changed by someone else"),
            std::string::npos);
  EXPECT_EQ(home.read("c", "data.mrb4"), theirs);
  EXPECT_EQ(home.run("retrieve me, c, t"), "theirs, longer than mine");  // loaded anew
  EXPECT_EQ(home.run("addmemo me, c, t, , , x").substr(0, 3), "OK:");
}

}  // namespace
}  // namespace mrb::memory
