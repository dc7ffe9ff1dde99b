#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>

#include "vfs/mirror/mirror_layout.h"
#include "vfs/model/blob.h"
#include "vfs/model/file_table.h"
#include "vfs/model/lock_table.h"
#include "vfs/model/nodes.h"
#include "vfs/model/reserved_names.h"

namespace mrb::vfs {
namespace {

TEST(BlobTest, EqualContentsShareOneBlobAndUnusedOnesGo) {
  BlobPool pool;
  std::vector<Blob> kept;
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 100; ++i) {
      const std::string text(static_cast<std::size_t>(i), static_cast<char>('a' + i % 7));
      Blob blob = pool.intern(Blob::copy_of(text));
      EXPECT_EQ(blob.bytes(), text);
      if (round == 0) {
        kept.push_back(blob);
      } else {
        EXPECT_EQ(blob.bytes().data(), kept[static_cast<std::size_t>(i)].bytes().data()) << i;
      }
    }
  }
  EXPECT_EQ(pool.count(), 99U);  // the empty one takes no place
  kept.clear();
  for (int i = 0; i < 1000; ++i) (void)pool.intern(Blob::copy_of("other " + std::to_string(i)));
  EXPECT_LT(pool.count(), 1000U);  // the hundred were left out, and others that nobody kept
}

TEST(BlobTest, BlobsOfASlabOutliveIt) {
  std::vector<Blob> kept;
  std::vector<std::string> texts;
  {
    BlobSlab slab;
    for (std::size_t size = 0; size < 3 << 20; size = size * 2 + 1) {
      for (int copies = 0; copies < 5; ++copies) {
        texts.emplace_back(size, static_cast<char>('a' + copies));
        kept.push_back(slab.copy_of(texts.back(), HashBytes(texts.back())));
        if (copies == 2) kept.back() = {};  // its room is lost, its neighbours' is not
      }
    }
  }
  for (std::size_t i = 0; i < kept.size(); ++i) {
    EXPECT_EQ(kept[i].bytes(), i % 5 == 2 ? std::string_view() : texts[i]) << i;
  }
  EXPECT_TRUE(kept.back().equals(Blob::copy_of(texts.back())));
}

TEST(BlobTest, HashTellsEveryByteAndLength) {
  std::set<std::uint64_t> hashes;
  const std::string base(100, '\0');
  for (std::size_t size = 0; size <= base.size(); ++size) {
    hashes.insert(HashBytes(std::string_view(base).substr(0, size)));
    std::string changed = base.substr(0, size);
    if (!changed.empty()) changed.back() = 'x';
    hashes.insert(HashBytes(changed));
  }
  EXPECT_EQ(hashes.size(), 201U);
}

TEST(FileTableTest, FindsWhatWasAddedByTheSystemsRules) {
  FileTable posix(platform::PathStyle::kPosix);
  FileTable windows(platform::PathStyle::kWindows);
  for (int i = 0; i < 1000; ++i) {
    const std::string path = "Folder/file" + std::to_string(i);
    const File& added = posix.add(path);
    EXPECT_EQ(posix.find(path), &added);
    windows.add(path);
  }
  EXPECT_EQ(posix.find("folder/FILE7"), nullptr);
  ASSERT_NE(windows.find("folder/FILE7"), nullptr);
  EXPECT_EQ(&windows.add("FOLDER/file7"), windows.find("Folder/file7"));
  EXPECT_EQ(windows.files().size(), 1000U);
}

TEST(FileTableTest, KeepsThePathOrderWhileFilesCome) {
  FileTable table(platform::PathStyle::kPosix);
  std::set<std::string> expected;
  std::uint32_t random = 1;
  for (int i = 0; i < 400; ++i) {
    random = random * 1664525 + 1013904223;
    // Beside the folder "d": what sorts before and after its "/".
    constexpr std::array kStarts{"d", "d-", "d/", "d/e/", "d0", "d/\xff", ""};
    const std::string path = kStarts[random % kStarts.size()] + std::to_string(random >> 8);
    table.add(path);
    expected.insert(path);
    if (random % 5 > 1) continue;  // so that one, or some, are new
    std::vector<std::string> all;
    std::vector<std::string> below;
    for (const File* file : table.in_order()) all.push_back(file->name);
    for (const File* file : table.below("d")) below.push_back(file->name);
    EXPECT_TRUE(std::ranges::equal(all, expected));
    std::erase_if(all, [](const std::string& name) { return !name.starts_with("d/"); });
    EXPECT_EQ(below, all);
  }
  EXPECT_EQ(table.below("").size(), expected.size());
  EXPECT_TRUE(table.below("no").empty());
}

TEST(MirrorLayoutTest, KeysNameRoots) {
  struct Case {
    std::string root, executable_folder, key;
  };
  const std::vector<Case> cases{
      {"C:\\src\\app", "C:\\tools", "C__src_app"},
      {"D:\\Projects\\My App", "C:\\tools", "D__Projects_My_App"},
      {"C:\\Tools\\docs", "c:\\tools", "docs"},
      {"C:\\toolsandmore", "C:\\tools", "C__toolsandmore"},
      {"/home/me/src", "", "_home_me_src"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(MirrorKey(one.root, one.executable_folder), one.key);
  }
  const std::string longer = "/" + std::string(59, 'a');
  const std::string key = MirrorKey(longer, "");
  EXPECT_EQ(key, "_" + std::string(23, 'a') + "_7dbbbc37");
  EXPECT_EQ(key.size(), 33U);
  EXPECT_NE(DistinctMirrorKey("/a/b"), DistinctMirrorKey("/a_b"));
}

TEST(MirrorLayoutTest, RecognisesWhatItNames) {
  const MirrorLayout layout("/m");
  struct Case {
    std::string path, file;
    MirrorEntry::Kind kind;
    std::uint32_t number;
  };
  using Kind = MirrorEntry::Kind;
  for (const std::string path : {"f", "d/e/f.txt", "d/.hidden", "f.xx3"}) {
    for (const Case& one :
         std::vector<Case>{{path, layout.copy(path), Kind::kCopy, 0},
                           {path, layout.copy_beside_folder(path), Kind::kCopy, 0},
                           {path, layout.tombstone(path), Kind::kTombstone, 0},
                           {path, layout.archive(path, 12), Kind::kArchive, 12},
                           {"", layout.temporary(path), Kind::kOther, 0},
                           {"", layout.journal(), Kind::kOther, 0}}) {
      std::string relative = one.file.substr(3);
      std::ranges::replace(relative, '\\', '/');
      const MirrorEntry entry = ClassifyMirrorFile(relative);
      EXPECT_EQ(entry.kind, one.kind) << one.file;
      EXPECT_EQ(entry.key, one.path) << one.file;
      EXPECT_EQ(entry.number, one.number) << one.file;
    }
  }
  EXPECT_EQ(ClassifyMirrorFile(".f.oldversions/g.xx1").kind, Kind::kOther);
  EXPECT_EQ(ClassifyMirrorFile(".f.oldversions/f.xx0").kind, Kind::kOther);
}

TEST(MirrorLayoutTest, NamesAsLongAsTheSystemAllowsLeaveRoomForTheMachinery) {
  const std::string longest(255, 'n');
  const MirrorLayout layout("/m");
  for (const std::string& path :
       {layout.copy(longest), layout.temporary(longest), layout.tombstone(longest),
        layout.archive_folder(longest), layout.archive(longest, 4294967295U),
        TemporaryBeside("/w/" + longest)}) {
    EXPECT_LE(BaseName(path).size(), 255U) << path;
  }
  EXPECT_NE(MirrorLayout::key(longest), MirrorLayout::key(std::string(254, 'n') + "m"));
}

TEST(ReservedNamesTest, AreTheMachinerysEndingsToTheLetter) {
  for (const std::string_view path : {"a.tombstone", "b/c.tmp$", "x.oldversions/y", "d\\e.tmp$"}) {
    EXPECT_TRUE(HasReservedPart(path)) << path;
  }
  for (const std::string_view path : {"a.TMP$", "tombstone", "a.tmp$x", "oldversions/y", ""}) {
    EXPECT_FALSE(HasReservedPart(path)) << path;
  }
}

TEST(LockTableTest, HandsOnToWhoWaitsFirst) {
  LockTable locks;
  using Taken = LockTable::Taken;
  EXPECT_EQ(locks.take("f", "ann"), Taken::kTaken);
  EXPECT_EQ(locks.take("f", "ann"), Taken::kOwned);
  EXPECT_EQ(locks.take("f", "bob"), Taken::kQueued);
  EXPECT_EQ(locks.take("f", "cy"), Taken::kQueued);
  EXPECT_EQ(locks.take("f", "bob"), Taken::kQueued);
  EXPECT_EQ(locks.queue("f"), (std::vector<std::string>{"bob", "cy"}));
  EXPECT_FALSE(locks.release("f", "bob"));
  EXPECT_TRUE(locks.release("f", "ann"));
  EXPECT_EQ(locks.holder("f"), "bob");
  locks.transfer("f", "cy");
  EXPECT_TRUE(locks.queue("f").empty());
  EXPECT_TRUE(locks.release("f", "cy"));
  EXPECT_EQ(locks.holder("f"), "");
}

TEST(NodesTest, ImageIsLittleEndianWithoutPadding) {
  File file("d/f");
  VersionRecord record;
  record.version = 258;
  record.author = AuthorName("ann");
  record.stamp = {2026, 11, 23, 4, 5, 6};
  record.bytes = Blob::copy_of("hi");
  file.history.push_back(record);
  file.content = record.bytes;
  file.follow_history();
  const std::string stamp("\xea\x07\0\0\x0b\0\0\0\x17\0\0\0\x04\0\0\0\x05\0\0\0\x06\0\0\0", 24);
  const std::string version =
      std::string("\x02\x01\0\0", 4) + "ann" + std::string(37, '\0') + stamp;
  const std::string bytes = std::string("\x02\0\0\0hi", 6);
  const std::string image = std::string("\0\x03\0\0\0d/f", 8) + version + bytes +
                            std::string("\x01\0\0\0", 4) + version + bytes;
  EXPECT_EQ(file.writeImage(), image);
  EXPECT_EQ(file.clone()->writeImage(), image);
  Directory folder("d");
  folder.children.push_back(file.clone());
  EXPECT_EQ(folder.writeImage(), std::string("\x01\x01\0\0\0d\x01\0\0\0", 10) + image);
  EXPECT_EQ(folder.latestVersion(), 258U);
}

TEST(VersionRecordTest, AuthorsAreCutBetweenCharactersAndStampsReadBack) {
  EXPECT_EQ(AuthorName(std::string(38, 'a') + "é").text(), std::string(38, 'a'));
  EXPECT_EQ(AuthorName(std::string(50, 'a')).text().size(), 39U);
  EXPECT_EQ(AuthorName(std::string_view("a\0b", 3)).text(), "a");
  const VersionStamp stamp{2026, 1, 2, 3, 4, 5};
  EXPECT_EQ(StampText(stamp), "2026-01-02 03:04:05");
  EXPECT_EQ(ParseStamp(StampText(stamp)), stamp);
  EXPECT_EQ(ParseStamp("2026-01-02T03:04:05"), VersionStamp());
}

TEST(NodeDiffTest, ComparesNewestVersionsBelowAnyFolder) {
  const auto add = [](Directory& folder, const std::string& path, const std::string& text) {
    auto file = std::make_unique<File>(path);
    file->content = Blob::copy_of(text);
    file->version = 2;
    folder.children.push_back(std::move(file));
  };
  Directory one("src");
  Directory two("old");
  add(one, "lib/src/a.c", "1\n");
  add(two, "old/a.c", "2\n");
  add(one, "lib/src/same.c", "s");
  add(two, "old/same.c", "s");
  auto inner = std::make_unique<Directory>("deep");
  add(*inner, "lib/src/deep/b.c", "");
  one.children.push_back(std::move(inner));
  EXPECT_EQ(one.diffAgainst(two),
            "=== DIRECTORY DIFF ===\nA: src\nB: old\n"
            "differing files (identical files omitted to spare context):\n"
            "  [differs]   a.c @A src/a.c (v2) , @B old/a.c (v2)\n"
            "  [only in A] deep/b.c\n"
            "=== END DIRECTORY DIFF ===\n");
  const iFileSystemObj& file = *one.children[0];
  EXPECT_EQ(file.diffAgainst(*two.children[0]),
            "=== FILE DIFF ===\nFILE1: lib/src/a.c  (v2)\nFILE2: old/a.c  (v2)\n"
            "legend: [ ] same   [-] only in FILE1   [+] only in FILE2\n---\n"
            "[-] 1\n[+] 2\n=== END DIFF ===\n");
  EXPECT_EQ(file.diffAgainst(two), "=== FILE DIFF ===\nERROR: other side is not a File.\n");
}

}  // namespace
}  // namespace mrb::vfs
