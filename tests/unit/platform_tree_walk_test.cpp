#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <ranges>
#include <set>

#include "platform/faulty_files.h"
#include "platform/paths.h"
#include "platform/tree_visitor.h"
#include "temp_folder.h"

namespace mrb::platform {
namespace {

namespace fs = std::filesystem;

/// Keeps all that a walk tells, and leaves out the folders named.
class Recorder : public TreeVisitor {
 public:
  explicit Recorder(std::set<std::string> pruned = {}) : pruned_(std::move(pruned)) {}

  bool enter(std::string_view folder) override {
    folders.emplace(folder);
    return !pruned_.contains(std::string(folder));
  }
  void file(std::string_view path, const FileStatus& status) override {
    EXPECT_TRUE(files.emplace(path, status).second) << path;
  }
  void skipped(std::string_view path, Skipped why) override { left_out.emplace(path, why); }

  std::set<std::string> folders;
  std::map<std::string, FileStatus> files;
  std::map<std::string, Skipped> left_out;

 private:
  std::set<std::string> pruned_;
};

class TreeWalkTest : public ::testing::Test {
 protected:
  std::string native(const std::string& path) { return JoinPath(folder_.path(), NativePath(path)); }
  void write(const std::string& path, std::string_view text) {
    ASSERT_TRUE(MakeDirectories(SystemFiles(), ParentPath(native(path))));
    auto file = SystemFiles().open(native(path), FileSystem::OpenMode::kReplace);
    ASSERT_TRUE(file && (*file)->append(text));
  }

  test::TempFolder folder_;
};

TEST_F(TreeWalkTest, FindsEveryFileOfARandomTreeWithItsStatus) {
  std::mt19937 random(7);
  std::map<std::string, std::size_t> expected;
  std::set<std::string> folders;
  for (int i = 0; i < 300; ++i) {
    std::string path;
    for (auto depth = random() % 5; depth > 0; --depth) {
      path += "d" + std::to_string(random() % 3);
      folders.insert(path);
      path += "/";
    }
    path += (random() % 9 == 0 ? ".f\xC3\xBC" : "file") + std::to_string(i);
    expected[path] = random() % 100;
    write(path, std::string(expected[path], 'x'));
  }
  Recorder tree;
  ASSERT_TRUE(SystemFiles().walk(folder_.path(), tree));
  EXPECT_EQ(tree.folders, folders);
  EXPECT_TRUE(tree.left_out.empty());
  ASSERT_EQ(tree.files.size(), expected.size());
  std::set<std::uint64_t> ids;
  for (const auto& [path, size] : expected) {
    const FileStatus& status = tree.files.at(path);
    const FileStatus asked = SystemFiles().status(native(path)).value();
    EXPECT_EQ(status.size, size);
    EXPECT_EQ(status.type, asked.type);
    EXPECT_EQ(status.modified_ns, asked.modified_ns);
    EXPECT_EQ(status.changed_ns, asked.changed_ns);
    EXPECT_EQ(status.file_id, asked.file_id);
    ids.insert(status.file_id);
  }
  EXPECT_EQ(ids.size(), expected.size());
}

TEST_F(TreeWalkTest, PrunesWhatIsNotEnteredAndFollowsNoLink) {
  write("keep/in.txt", "1");
  write("out/deep/secret.txt", "2");
  std::error_code no_links;
  fs::create_directory_symlink(native("out"), native("keep/link"), no_links);
  fs::create_symlink("nowhere", native("broken"), no_links);
  Recorder tree({"out"});
  ASSERT_TRUE(SystemFiles().walk(folder_.path(), tree));
  EXPECT_EQ(tree.folders, (std::set<std::string>{"keep", "out"}));
  ASSERT_EQ(tree.files.size(), 1U);
  EXPECT_EQ(tree.files.begin()->first, "keep/in.txt");
  if (no_links) return;  // a Windows user without the right to make them
  const auto link = TreeVisitor::Skipped::kLink;
  EXPECT_EQ(tree.left_out,
            (std::map<std::string, TreeVisitor::Skipped>{{"broken", link}, {"keep/link", link}}));
}

TEST_F(TreeWalkTest, GoesDeeperThanAnyPlainPathAndMindsVanishedFolders) {
  std::string path;
  for (int i = 0; i < 30; ++i) path += std::string(20, 'd') + "/";
  write(path + "file", "x");
  write("gone/file", "x");
  class Remover : public Recorder {
   public:
    explicit Remover(std::string victim) : victim_(std::move(victim)) {}
    bool enter(std::string_view folder) override {
      if (folder == "gone") fs::remove_all(victim_);
      return Recorder::enter(folder);
    }

   private:
    std::string victim_;
  } tree(native("gone"));
  ASSERT_TRUE(SystemFiles().walk(folder_.path(), tree));
  EXPECT_TRUE(tree.files.contains(path + "file"));
  EXPECT_EQ(tree.files.size(), 1U);
  EXPECT_TRUE(tree.left_out.empty());
}

TEST_F(TreeWalkTest, WhatIsRememberedNeverHidesAChange) {
  class Remembering : public Recorder {
   public:
    explicit Remembering(FolderMemory& memory) : memory_(memory) {}
    FolderMemory* memory() override { return &memory_; }

   private:
    FolderMemory& memory_;
  };
  // Remembers everything at once, so the clock has to tick between a walk and the next change.
  FolderMemory memory(0);
  auto tick = [this, last = std::int64_t{0}]() mutable {
    const std::string clock = folder_.path("clock");
    for (const std::int64_t before = last; last == before;) {
      static_cast<void>(SystemFiles().remove_file(clock));
      write("clock", "");
      last = SystemFiles().status(clock).value().modified_ns;
    }
  };
  std::mt19937 random(3);
  for (int round = 0; round < 60; ++round) {
    const std::string folder = "root/d" + std::to_string(random() % 4);
    const std::string path = folder + "/e/f" + std::to_string(random() % 6);
    tick();
    if (Exists(SystemFiles(), native(path))) {
      fs::remove_all(native(random() % 3 == 0 ? folder : path));
    } else {
      write(path, "x");
    }
    tick();
    Recorder plain;
    Remembering remembering(memory);
    ASSERT_TRUE(SystemFiles().walk(native("root"), plain));
    ASSERT_TRUE(SystemFiles().walk(native("root"), remembering));
    EXPECT_EQ(remembering.folders, plain.folders);
    ASSERT_TRUE(
        std::ranges::equal(std::views::keys(remembering.files), std::views::keys(plain.files)));
  }
}

TEST_F(TreeWalkTest, NamesAreBytesWhereTheSystemHasThem) {
  const bool any = SystemPathStyle() == PathStyle::kPosix;
  const std::string name = any ? "a\\b\xFF\n" : "a";
  write(name, "x");
  Recorder tree;
  ASSERT_TRUE(SystemFiles().walk(folder_.path(), tree));
  EXPECT_TRUE(tree.files.contains(name));
}

TEST_F(TreeWalkTest, OnlyTheRootCanFail) {
  Recorder tree;
  EXPECT_EQ(SystemFiles().walk(native("none"), tree).error().kind, ErrorKind::kNotFound);
  write("file", "x");
  EXPECT_FALSE(SystemFiles().walk(native("file"), tree));
  FaultyFiles files(SystemFiles());
  files.fail_at(1);
  EXPECT_FALSE(files.walk(folder_.path(), tree));
  EXPECT_TRUE(tree.files.empty());
  EXPECT_TRUE(files.walk(folder_.path(), tree));
  EXPECT_EQ(files.operations(), 2U);
}

}  // namespace
}  // namespace mrb::platform
