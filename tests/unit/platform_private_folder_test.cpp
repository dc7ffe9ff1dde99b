#include "platform/private_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/files.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "temp_folder.h"

namespace mrb::platform {
namespace {

using enum FolderState;
using std::filesystem::perms;

bool OnWindows() {
  return SystemPathStyle() == PathStyle::kWindows;
}

void Allow(const std::string& path, perms permissions) {
  std::filesystem::permissions(path, permissions);
}

TEST(PrivateFolder, WhatIsMadePrivateIsJudgedSo) {
  const test::TempFolder folder;
  const std::string made = JoinPath(folder.path("outer"), "home");
  EXPECT_EQ(ExamineFolder(made), kMissing);
  ASSERT_TRUE(MakeDirectories(SystemFiles(), made));
  EXPECT_EQ(ExamineFolder(made), kOwn);
  EXPECT_EQ(ExamineFolder(ParentPath(made)), kOwn);
  // What was made that way can be used: its files are written, read, replaced and removed.
  const std::string file = JoinPath(made, "file");
  EXPECT_TRUE(ReplaceFile(SystemFiles(), file, "one"));
  EXPECT_TRUE(ReplaceFile(SystemFiles(), file, "two"));
  EXPECT_EQ(ReadFile(SystemFiles(), file).value_or(""), "two");
  EXPECT_EQ(ExamineFolder(file), kNoFolder);
  EXPECT_TRUE(SystemFiles().remove_file(file));
  EXPECT_FALSE(FolderOwner(made).empty());
}

TEST(PrivateFolder, LinksAreJudgedByWhatTheyLeadTo) {
  if (OnWindows()) GTEST_SKIP() << "making links takes a privilege there";
  const test::TempFolder folder;
  ASSERT_TRUE(SystemFiles().make_directory(folder.path("own")));
  std::filesystem::create_symlink("own", folder.path("to-own"));
  std::filesystem::create_symlink("nowhere", folder.path("to-nowhere"));
  EXPECT_EQ(ExamineFolder(folder.path("to-own")), kOwn);
  EXPECT_EQ(ExamineFolder(folder.path("to-nowhere")), kNoFolder);
  const auto file = folder.path("file");
  ASSERT_TRUE(ReplaceFile(SystemFiles(), file, ""));
  EXPECT_FALSE(ExamineFolder(JoinPath(file, "below")));
}

TEST(PrivateFolder, WhoMayWriteDecidesAndWhereTheInstallHomeGoes) {
  if (OnWindows()) GTEST_SKIP() << "permissions are access lists there";
  struct Case {
    unsigned folder;  // of the executable
    unsigned home;    // in it; 0: missing
    FolderState state;
    bool installs;
  };
  for (const Case& c : {
           Case{0755, 0700, kOwn, true},
           {0755, 0755, kOwn, true},
           {0777, 0700, kOwn, true},
           {0755, 0720, kOpen, false},
           {0755, 0702, kOpen, false},
           {0755, 01777, kOpen, false},
           {0755, 0, kMissing, true},
           {0775, 0, kMissing, false},
           {01777, 0, kMissing, false},
       }) {
    const test::TempFolder folder;
    const std::string home = folder.path("home");
    if (c.home != 0) {
      ASSERT_TRUE(SystemFiles().make_directory(home));
      Allow(home, static_cast<perms>(c.home));
    }
    Allow(folder.path(), static_cast<perms>(c.folder));
    EXPECT_EQ(ExamineFolder(home), c.state) << std::oct << c.home;
    EXPECT_EQ(CanInstallInto(folder.path(), home), c.installs)
        << std::oct << c.folder << " " << c.home;
  }
}

TEST(PrivateFolder, CommandsNameThePathAsAShellTakesIt) {
  if (OnWindows()) {
    EXPECT_TRUE(ClosingCommands(R"(C:\a b)").starts_with("icacls \"C:\\a b\" /reset\n"));
    return;
  }
  EXPECT_EQ(ClosingCommands("/home/me/a-b"), "chmod go-w /home/me/a-b");
  EXPECT_EQ(ClosingCommands("/it's $HOME"), R"(chmod go-w '/it'\''s $HOME')");
}

}  // namespace
}  // namespace mrb::platform
