#include "vfs/mirror/chain_plan.h"

#include <gtest/gtest.h>

#include "temp_folder.h"
#include "vfs/mirror/journal.h"

namespace mrb::vfs {
namespace {

using Kind = ByteSource::Kind;

MirrorFacts Facts(const std::vector<std::uint32_t>& archives, bool copy, bool tombstone = false) {
  MirrorFacts facts;
  for (const std::uint32_t number : archives) facts.archives.push_back({number, 1000 + number});
  facts.has_copy = copy;
  facts.has_tombstone = tombstone;
  return facts;
}

Change Made(std::uint32_t version, ChangeKind kind, std::uint32_t archived = 0,
            std::uint32_t holds = 0, std::uint32_t same_as = 0) {
  Change change;
  change.version = version;
  change.kind = kind;
  change.author = "ann";
  change.path = "f";
  change.archived = archived;
  change.holds = holds;
  change.same_as = same_as;
  return change;
}

constexpr auto kCreate = ChangeKind::kCreate;
constexpr auto kModify = ChangeKind::kModify;
constexpr auto kDelete = ChangeKind::kDelete;
constexpr auto kRestore = ChangeKind::kRestore;
constexpr auto kFail = ChangeKind::kMirrorFail;

/// "1:a1 2:c 3:x": version and where its bytes are; x is a tombstone.
std::string Plan(const MirrorFacts& facts, const std::vector<Change>& changes) {
  std::string text;
  for (const PlannedRecord& record : PlanChain(facts, changes).records) {
    if (!text.empty()) text += ' ';
    text += std::to_string(record.version) + ":";
    if (record.tombstone) {
      text += "x";
    } else if (record.source.kind == Kind::kArchive) {
      text += "a" + std::to_string(record.source.number);
    } else {
      text += record.source.kind == Kind::kCopy ? "c" : "t";
    }
  }
  return text;
}

struct Case {
  const char* story;
  MirrorFacts facts;
  std::vector<Change> changes;
  const char* plan;
};

TEST(ChainPlanTest, FindsEveryVersionsBytes) {
  const std::vector<Case> cases{
      {"nothing is known", Facts({}, false), {}, ""},
      {"no journal: names tell", Facts({3, 1, 2}, true), {}, "1:a1 2:a2 3:a3 4:c"},
      {"no journal: deleted", Facts({1}, false, true), {}, "1:a1 2:t 3:x"},
      {"one version", Facts({}, true), {Made(1, kCreate)}, "1:c"},
      {"two versions", Facts({1}, true), {Made(1, kCreate), Made(2, kModify, 1, 1)}, "1:a1 2:c"},
      {"deleted", Facts({}, false, true), {Made(1, kCreate), Made(2, kDelete)}, "1:t 2:x"},
      {"deleted and restored",
       Facts({}, true),
       {Made(1, kCreate), Made(2, kDelete), Made(3, kRestore, 0, 0, 1)},
       "1:c 2:x 3:c"},
      {"and changed after that: the archive's number is no version",
       Facts({1}, true),
       {Made(1, kCreate), Made(2, kDelete), Made(3, kRestore, 0, 0, 1), Made(4, kModify, 1, 3)},
       "1:a1 2:x 3:a1 4:c"},
      {"deleted, made anew, deleted again",
       Facts({1}, false, true),
       {Made(1, kCreate), Made(2, kDelete), Made(3, kModify), Made(4, kDelete, 1, 1)},
       "1:a1 2:x 3:t 4:x"},
      {"a delete withdrawn",
       Facts({}, true),
       {Made(1, kCreate), Made(2, kDelete), Made(1, kRestore)},
       "1:c"},
      {"edited scope: the first version was never written down",
       Facts({1}, true),
       {Made(2, kModify, 1, 1)},
       "1:a1 2:c"},
      {"a version that the mirror refused",
       Facts({}, true),
       {Made(1, kCreate), Made(2, kModify, 1, 1), Made(2, kFail)},
       "1:c"},
      {"crash before the renames",
       Facts({}, true),
       {Made(1, kCreate), Made(2, kModify, 1, 1)},
       "1:c"},
      {"crash between the renames",
       Facts({1}, false),
       {Made(1, kCreate), Made(2, kModify, 1, 1)},
       "1:a1"},
      {"crash before a delete's rename",
       Facts({}, true),
       {Made(1, kCreate), Made(2, kDelete)},
       "1:c"},
      {"the journal lost its last line", Facts({1}, true), {Made(1, kCreate)}, "1:a1 2:c"},
      {"and its last two", Facts({1, 2}, true), {Made(1, kCreate)}, "1:a1 2:a2 3:c"},
      {"bytes that are nowhere", Facts({}, false), {Made(1, kCreate), Made(2, kModify, 1, 1)}, ""},
  };
  for (const Case& one : cases) EXPECT_EQ(Plan(one.facts, one.changes), one.plan) << one.story;
}

TEST(ChainPlanTest, TakesAuthorsFromTheJournalAndTimesFromFilesWithoutIt) {
  const auto known = PlanChain(Facts({1}, true), {Made(2, kModify, 1, 1)}).records;
  ASSERT_EQ(known.size(), 2U);
  EXPECT_EQ(known[0].author.text(), "");
  EXPECT_EQ(known[0].modified_ns, 1001);
  EXPECT_EQ(known[1].author.text(), "ann");
}

TEST(JournalTest, FindsTheChangesOfOnePathAmongOthers) {
  const test::TempFolder folder;
  Journal journal(platform::SystemFiles(), folder.path("journal"));
  EXPECT_TRUE(journal.read_of("f", false, [](const Change&) { FAIL(); }));
  const std::vector<std::string> paths{"f", "d/f", "F", "f\"", "f\n\\", "ключ", "\xff\xfe", "ff"};
  std::uint32_t version = 0;
  for (int round = 0; round < 2; ++round) {
    for (const std::string& path : paths) {
      Change change = Made(++version, kModify);
      change.path = path;
      change.author = R"("path":"f")";
      ASSERT_TRUE(journal.append(ChangeLine(change)));
    }
    ASSERT_TRUE(journal.append("\"path\":\"f\" torn\n"));
  }
  const auto found = [&](std::string_view path, bool any_case) {
    std::string versions;
    const Status read = journal.read_of(path, any_case, [&](const Change& change) {
      versions += std::to_string(change.version) + " ";
    });
    return read ? versions : read.error().text;
  };
  for (std::uint32_t i = 1; i <= paths.size(); ++i) {
    EXPECT_EQ(found(paths[i - 1], false),
              std::to_string(i) + " " + std::to_string(i + paths.size()) + " ");
  }
  EXPECT_EQ(found("f", true), "1 3 9 11 ");
  EXPECT_EQ(found("g", false), "");
}

TEST(JournalTest, ReadsBackWhatItWroteWhateverTheName) {
  for (const std::string path : {"a/b.txt", "quote\"back\\slash", "ключ", "\xff\xfe bytes"}) {
    Change change = Made(7, kModify, 3, 6, 2);
    change.path = path;
    change.size = 12;
    change.stamp = {2026, 11, 23, 1, 2, 3};
    change.carried = true;
    const std::string line = ChangeLine(change);
    const auto back = ParseChange(line);
    ASSERT_TRUE(back.has_value()) << line;
    EXPECT_EQ(ChangeLine(*back), line);
    EXPECT_EQ(back->path, path);
  }
  for (const std::string line : {"", "{}", "[1]", "{\"version\":-1}", "not json",
                                 R"({"version":1,"kind":"modify","path":"","size":1})",
                                 R"({"version":1,"kind":"odd","path":"a","size":1})",
                                 R"({"version":1,"kind":"modify","path_hex":"abc","size":1})",
                                 R"({"version":4294967296,"kind":"modify","path":"a","size":1})"}) {
    EXPECT_FALSE(ParseChange(line)) << line;
  }
}

}  // namespace
}  // namespace mrb::vfs
