#include "vfs/verbs/vfs_service.h"

#include <gtest/gtest.h>

#include "vfs/model/tree_path.h"
#include "vfs/verbs/arguments.h"
#include "vfs_service_fixture.h"

namespace mrb::vfs {
namespace {

namespace fs = std::filesystem;
using test::kGigabyte;

using VfsServiceTest = test::ServiceFixture;

TEST_F(VfsServiceTest, EditsLocksAndHistoryAnswerAsTheyShould) {
  ASSERT_TRUE(enroll().starts_with("OK: enrolled " + root_ + " — 0 file(s) ingested"));
  expect({
      {"fsmk:file <path>f</path><content>one two one</content>",
       "OK: created f v1\n  [version control: automatic] f saved as v1 — history: 'Mirebolt "
       "history "
       "f'; roll back: 'Mirebolt revert f to 0'"},
      {"fsmk:file <path>f</path><content>one two one</content>", "OK: unchanged f v1"},
      {"fsvctl:editone <path>f</path><old>one</old><new>x</new>",
       "ERROR: <old> matches f more than once — add more context, or set <all>true</all> to "
       "replace "
       "every occurrence"},
      {"fsvctl:editone <path>f</path><old>nine</old><new>x</new>",
       "ERROR: <old> text not found in f"},
      {"fsvctl:editone <path>f</path>",
       "ERROR: <old> required (fsvctl:checkin for a full overwrite)"},
      {"fsvctl:editone <path>f</path><old>one</old><new><b>1</b></new><all>true</all>",
       "OK: edited f v2"},
      {"fs:cat f", "<b>1</b> two <b>1</b>"},
      {"fslock:status f", "OK: f"},
      {"fsvctl:checkout f", "OK: checked out f", "bob"},
      {"fsvctl:checkout f <load>true</load>", "ERROR: f is locked by bob — queued*"},
      {"fsvctl:editone <path>f</path><old>two</old><new>2</new>",
       "ERROR: f is locked by bob — queued, not edited"},
      {"fslock:status f", "OK: f  LOCKED by bob  (queued: ann)"},
      {"fsmk:file <path>f</path><content>mine</content>", "ERROR: file is locked (bob)"},
      {"fsvctl:checkin f <dirty>true</dirty>",
       "OK: checked in f v3  [dirty check-in over bob's lock — merge required (both parties)]"},
      {"fs:cat f", "mine"},
      {"fslock:unlock f", "OK: unlocked f", "bob"},
      {"fslock:status f", "OK: f  LOCKED by ann  [merge required]"},
      {"fslock:merged f", "OK: merged f"},
      {"fslock:transfer f cy", "OK: transferred lock on f to cy"},
      {"fslock:toggle f", "ERROR: file is locked (cy)"},
      {"fslock:toggle f", "OK: unlocked f", "cy"},
      {"fslock:toggle nothing", "ERROR: no such node: nothing"},
      {"fslock:toggle", "ERROR: usage  fslock:toggle <path>"},
      {"fslock:transfer f", "ERROR: usage  fslock:transfer <path> <toSeat>"},
      {"fslock:burn f", "ERROR: unknown fslock op 'burn' (status|toggle|transfer)"},
      {"fsvctl:revert f 1", "OK: reverted f to v1 (now v4)"},
      {"fsvctl:revert f 9", "ERROR: no v9 of f (fsvctl:log shows the chain)"},
      {"fsvctl:open f v2", "<b>1</b> two <b>1</b>"},
      {"fsvctl:diff f 2 3",
       "=== FILE DIFF ===\nFILE1: f  (v2)\nFILE2: f  (v3)\n"
       "legend: [ ] same   [-] only in FILE1   [+] only in FILE2\n---\n"
       "[-] <b>1</b> two <b>1</b>\n[+] mine\n=== END DIFF ===\n"},
      {"fsvctl:diff f", "=== FILE DIFF ===\nFILE1: f  (v3)\nFILE2: f  (v4)*"},
      {"fsvctl:diff f 9", "ERROR: no v9 of f (fsvctl:log shows the chain)"},
      {"fs:rm f", "OK: tombstoned f (append-only; fs:restore to undo)"},
      {"fs:cat f", "ERROR: file tombstoned: f (fs:restore to bring it back)"},
      {"fs:copy f g", "ERROR: source is tombstoned: f (fs:restore it first)"},
      {"fs:restore f", "OK: restored f"},
      {"fs:copy f g", "OK: copied f -> g (v1, new versioned file)"},
      {"fs:copy f g", "OK: copied f -> g (v1; incoming copy replaced the working bytes)"},
      {"fs:move f f", "ERROR: source and destination are the same"},
      {"fs:move f g", "ERROR: 'g' already exists — fs:rm it first, or fs:copy to keep its history"},
      {"fs:move f d/h", "OK: moved f -> d/h (history followed)"},
      {"fs:move d x", "ERROR: not a file"},
      {"fs:copy g d", "ERROR: destination is a directory: d"},
      {"fsvctl:checkout d", "ERROR: not a file: d"},
      {"fsvctl:checkout nothing", "ERROR: no such file: nothing"},
      {"fs:cat ../outside", "ERROR: no such file: ../outside"},
      {"fs:cat", "ERROR: usage  fs:cat <path>"},
      {"fs:burn x",
       "ERROR: unknown fs op 'burn' (cat|rm|move|copy|restore). Use fsmk: to create, fsvctl: for "
       "checkout/checkin/log/diff/revert, fsraw: for a direct OS op."},
      {"fsmk:file x.tmp$",
       "ERROR: reserved name: 'x.tmp$' uses a machinery suffix (.tombstone / .tmp$ / "
       ".oldversions)"},
  });
  const std::string log = run("fsvctl:log d/h");
  EXPECT_TRUE(log.starts_with("LOG d/h  (6 versions)\n  v1  ann  20")) << log;
  EXPECT_NE(log.find("  11b\n"), std::string::npos) << log;
}

TEST_F(VfsServiceTest, EnrolmentIsCheckedReportedAndKept) {
  put("a.txt", "12345");
  put("b.o", "1");
  put("c.o", "1");
  expect({
      {"fsvctl:enroll", "ERROR: usage  Mirebolt EnrollVersionControl <directory> [flags]\n"},
      {"fsvctl:enroll /no/such", "ERROR: no such directory: /no/such"},
      {"fsvctl:enroll . scope=odd", "ERROR: bad policy: *"},
      {"fsvctl:enroll . watch=off",
       "ERROR: watch=off requested but NOT applied — this needs an explicit second confirmation.*"},
      {"fsvctl:enroll . max=4", "ERROR: " + root_ + " is 7 bytes — over the max repo size 4*"},
  });
  free_ = 4 * kGigabyte;
  EXPECT_TRUE(enroll().starts_with("ERROR: enrolling " + root_ + " in cached (RAM) VC needs ~"));
  EXPECT_TRUE(service_->files().registry().all().empty());
  free_ = 6 * kGigabyte;
  const std::string answer = enroll("ext=allbut:.o max=0");
  EXPECT_TRUE(answer.starts_with("OK: enrolled " + root_ +
                                 " — 1 file(s) ingested (5 bytes), watching for changes\n  policy: "
                                 "[scope=all ext=allbut:.o watch=on max=0 mode=vc]"))
      << answer;
  EXPECT_NE(answer.find("\n  NOT source controlled: 2 file(s), 2 bytes — excluded by the ext "
                        "policy:\n    - .o (2)"),
            std::string::npos)
      << answer;
  EXPECT_NE(answer.find("\n  note: this leaves ~"), std::string::npos) << answer;
  expect({
      {"fsmk:file <path>d.o</path><content>x</content>",
       "ERROR: excluded by version-control policy [scope=all ext=allbut:.o watch=on max=0 mode=vc] "
       "— fsraw: writes it unversioned"},
      {"fsraw:write <path>d.o</path><content>x</content>", "OK: wrote d.o*"},
      {"fsraw:read d.o", "x"},
      {"fsraw:remove ../tree/../../x", "ERROR: '../tree/../../x' is not inside an enrolled root"},
      {"fsvctl:enroll .", "OK: " + root_ + " is already enrolled — policy unchanged"},
      {"fsvctl:enroll . mode=cachewt", "ERROR: " + root_ + " is already enrolled as versioned VC*"},
      {"fsvctl:enroll . scope=edited",
       "OK: " + root_ +
           " re-enrolled — policy now [scope=edited ext=allbut:.o watch=on max=0 mode=vc]"},
      {"fssys:policy ext=only:.md",
       "OK: " + root_ +
           " — policy now [scope=edited ext=only:.md watch=on max=0 mode=vc]\n  1 file(s) left VC "
           "under the new rules (mirror history kept)"},
      {"fssys:policy watch=off confirm=watchoff",
       "OK: " + root_ + " — policy now [scope=edited ext=only:.md watch=off max=0 mode=vc]"},
  });
  start();
  EXPECT_EQ(run("fssys:policy"),
            "OK: " + root_ + "  policy: [scope=edited ext=only:.md watch=off max=0 mode=vc]");
  EXPECT_EQ(printed_, "[vc] caching 1 enrolled directory...\n[vc] (1/1) caching " + root_ +
                          " ... -> cached (0 file(s))\n[vc] version control ready.\n");
  EXPECT_TRUE(run("fsvctl:unenroll .").starts_with("OK: unenrolled " + root_));
  start();
  EXPECT_EQ(run("fsstat:stores"), "OK: 0 store(s)  (* active)\n");
}

TEST_F(VfsServiceTest, ACacheStoreWritesThroughAndDropsWhatWasUsedLongestAgo) {
  put("old", "used first");
  put("new", "used last");
  ASSERT_TRUE(enroll("mode=cachewt").starts_with("OK: cache write-through (no version) enrolled "));
  expect({{"fs:cat old", "used first"}, {"fs:cat new", "used last"}});
  const auto store = service_->files().registry().active();
  free_ = 8 * kGigabyte - 1;
  EXPECT_EQ(service_->files().cache().drop_old(service_->files().registry().all()),
            2U);  // 2 GiB are wanted
  expect({
      {"fsmk:file <path>old</path><content>written</content>",
       "OK: wrote through old — cache write-through store (mode=cachewt), no version recorded"},
      {"fsvctl:log old",
       "LOG old  — cache write-through store (mode=cachewt): no version chain kept"},
      {"fsvctl:revert old 1",
       "ERROR: old is in a cache write-through store (mode=cachewt) — no version history to revert "
       "to"},
      {"fsvctl:editone <path>new</path><old>last</old><new>now</new>",
       "OK: wrote through new — cache write-through store (mode=cachewt), no version recorded"},
  });
  EXPECT_EQ(read("old"), "written");
  EXPECT_EQ(read("new"), "used now");
}

TEST_F(VfsServiceTest, SingleFilesAreFollowedAndKeptAcrossStarts) {
  put("notes.md", "one");
  put("other.md", "not followed");
  expect({
      {"fsvctl:unwatch notes.md", "OK: was not watching notes.md"},
      {"fsvctl:watch nothing.md", "ERROR: no such file: nothing.md"},
      {"fsvctl:watch notes.md", "OK: watching notes.md — every save becomes a version"},
  });
  put("notes.md", "two");
  start();
  const std::string path = (fs::path(root_) / "notes.md").string();
  EXPECT_TRUE(run("fsvctl:log " + path).starts_with("LOG " + path + "  (2 versions)\n"));
  EXPECT_EQ(run("fsvctl:open " + path + " 1"), "one");
  expect({{"fsvctl:watch", "OK: 1 watched file(s)\nlive " + path +
                               "  (1 archived version(s))\n\n  watch <file> subscribes to one "
                               "file; EnrollVersionControl <dir> watches a whole tree"},
          {"fs:cat " + (fs::path(root_) / "other.md").string(), "ERROR: no such file: *"},
          {"fsvctl:unwatch " + path, "OK: stopped watching " + path + " (mirror history kept)"}});
}

TEST_F(VfsServiceTest, ASecondOneOfARootFollowsOnly) {
  put("f", "one");
  ASSERT_TRUE(enroll().starts_with("OK: enrolled "));
  // Another data home has another folder of locks; a second process shares this one.
  VfsOptions options = service_->files().options();
  std::string told;
  options.print = [&](std::string_view text) { told += text; };
  VfsService second(options);
  const VfsCall call{.author = "eve", .folder = CallerFolder::known(root_)};
  EXPECT_EQ(second.execute(call, "fs", "cat", "f"), "one");
  EXPECT_NE(told.find("watcher owned by another Mirebolt process — read-only follower"),
            std::string::npos)
      << told;
  EXPECT_EQ(second.execute(call, "fsmk", "file", "<path>f</path><content>x</content>"),
            "ERROR: watcher owned by another Mirebolt process — read-only follower");
  EXPECT_EQ(read("f"), "one");
}

TEST_F(VfsServiceTest, CheckoutsOfAFileAreReplayedAsLocks) {
  put("f", "one");
  ASSERT_TRUE(enroll().starts_with("OK: enrolled "));
  std::ofstream(folder_.path("home") + "/checkouts.jsonl")
      << "{\"leafId\":\"seat-7\",\"path\":\"f\"}\nnot json\n";
  start();
  EXPECT_EQ(run("fslock:who f"), "OK: f  LOCKED by seat-7");
}

TEST(ArgumentsTest, TakeTagsWordsAndOptionsInAnyMix) {
  const Arguments args(
      "<path>a b</path> word \"two words\" --store=\"x y\" --flag "
      "<content>a </content> b\n</content>");
  EXPECT_EQ(args.tag("path"), "a b");
  EXPECT_EQ(args.tag("content"), "a </content> b\n");
  EXPECT_EQ(args.words(), (std::vector<std::string>{"word", "two words"}));
  EXPECT_EQ(args.option("store"), "x y");
  EXPECT_EQ(args.option("flag"), "");
  EXPECT_EQ(args.option("none"), std::nullopt);
  EXPECT_EQ(Arguments("<open and 3 < 4 \"half").words(),
            (std::vector<std::string>{"<open", "and", "3", "<", "4", "\"half"}));
}

TEST(TreePathTest, NormalisesForBothSystems) {
  using platform::PathStyle;
  struct Case {
    std::string path, posix, windows;
  };
  for (const Case& one : std::vector<Case>{{"/a//b/./c/../d/", "/a/b/d", ""},
                                           {"/", "/", ""},
                                           {"/..", "", ""},
                                           {"C:\\a\\..\\b/c\\", "", "C:\\b\\c"},
                                           {"d:", "", "d:\\"},
                                           {"\\\\host\\share\\x\\..", "", "\\\\host\\share"},
                                           {"relative", "", ""}}) {
    EXPECT_EQ(NormalPath(one.path, PathStyle::kPosix).value_or(""), one.posix) << one.path;
    EXPECT_EQ(NormalPath(one.path, PathStyle::kWindows).value_or(""), one.windows) << one.path;
  }
  EXPECT_EQ(BelowRoot("/a/b/c", "/a", PathStyle::kPosix), "b/c");
  EXPECT_EQ(BelowRoot("/ab", "/a", PathStyle::kPosix), std::nullopt);
  EXPECT_EQ(BelowRoot("/a", "/", PathStyle::kPosix), "a");
  EXPECT_EQ(BelowRoot("c:\\A\\b", "C:\\a", PathStyle::kWindows), "b");
  EXPECT_EQ(NormalRelative("a\\b", PathStyle::kPosix), "a\\b");
  EXPECT_EQ(NormalRelative("a\\..\\b", PathStyle::kWindows), "b");
  EXPECT_EQ(NormalRelative("a/../../b"), std::nullopt);
}

}  // namespace
}  // namespace mrb::vfs
