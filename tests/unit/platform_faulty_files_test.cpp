#include "platform/faulty_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "platform/files.h"
#include "platform/paths.h"
#include "temp_folder.h"

namespace mrb::platform {
namespace {

using OpenMode = FileSystem::OpenMode;

class FaultyFilesTest : public ::testing::Test {
 protected:
  std::unique_ptr<OpenFile> open(const std::string& name, OpenMode mode) {
    return files_.open(folder_.path(name), mode).value();
  }
  std::string read(const std::string& name) {
    return ReadFile(SystemFiles(), folder_.path(name)).value_or("none");
  }

  test::TempFolder folder_;
  FaultyFiles files_{SystemFiles()};
};

TEST_F(FaultyFilesTest, CountsEveryOperationAndFailsOnlyTheOneChosen) {
  const auto script = [&] {
    const std::string path = folder_.path("file");
    std::array<char, 4> out{};
    std::string outcome;
    const auto note = [&](bool worked) { outcome += worked ? '.' : 'F'; };
    auto file = files_.open(path, OpenMode::kReplace);
    note(file.has_value());
    if (!file) file = SystemFiles().open(path, OpenMode::kReplace);
    const bool counted = outcome == ".";
    for (int i = 0; i < 5 && counted; ++i) {
      note(i == 0   ? (*file)->append("abcd").has_value()
           : i == 1 ? (*file)->size().has_value()
           : i == 2 ? (*file)->read_at(0, out.data(), 1).has_value()
           : i == 3 ? (*file)->truncate(1).has_value()
                    : (*file)->sync().has_value());
    }
    file->reset();
    note(files_.status(path).has_value());
    note(files_.list(folder_.path()).has_value());
    note(files_.rename_replace(path, path + "2").has_value());
    note(files_.sync_directory(folder_.path()).has_value());
    return outcome;
  };
  EXPECT_EQ(script(), "..........");
  EXPECT_EQ(files_.operations(), 10U);
  for (std::uint64_t n = 2; n <= 10; ++n) {
    files_.reset();
    files_.fail_at(n);
    std::string expected(10, '.');
    expected[n - 1] = 'F';
    EXPECT_EQ(script(), expected);
    files_.reset();
    files_.crash_at(n);
    EXPECT_EQ(script(), std::string(n - 1, '.') + std::string(11 - n, 'F'));
  }
  files_.reset();
  files_.crash_at(1);
  EXPECT_EQ(script(), "FFFFF");
}

TEST_F(FaultyFilesTest, AFailingAppendLeavesHalfAndADeadOneNothing) {
  const auto file = open("file", OpenMode::kReplace);
  files_.reset();
  files_.fail_at(1);
  EXPECT_FALSE(file->append("12345678"));
  EXPECT_EQ(read("file"), "1234");
  EXPECT_TRUE(file->append("ab"));
  files_.reset();
  files_.crash_at(1);
  EXPECT_FALSE(file->append("XYZZ"));
  EXPECT_FALSE(file->append("never"));
  EXPECT_EQ(read("file"), "1234abXY");
}

TEST_F(FaultyFilesTest, ReplaceFileIsOldOrNewAfterACrashAtAnyOperation) {
  const std::string path = folder_.path("file");
  int old_seen = 0;
  int new_seen = 0;
  for (std::uint64_t n = 1;; ++n) {
    ASSERT_TRUE(ReplaceFile(SystemFiles(), path, "old contents"));
    FaultyFiles files(SystemFiles());
    files.crash_at(n);
    const Status done = ReplaceFile(files, path, std::array<std::string_view, 2>{"new ", "bytes"});
    files.lose_unsynced();
    const std::string contents = read("file");
    EXPECT_TRUE(contents == "old contents" || contents == "new bytes") << n << ": " << contents;
    EXPECT_TRUE(!done || contents == "new bytes") << n;
    ++(contents == "new bytes" ? new_seen : old_seen);
    if (files.operations() < n) break;
  }
  EXPECT_EQ(old_seen, 5);  // open, two appends, sync, rename
  EXPECT_EQ(new_seen, 2);  // only the folder's flush failed; nothing failed
}

TEST_F(FaultyFilesTest, AFailedReplaceFileLeavesNoTemporary) {
  for (std::uint64_t n = 1; n <= 4; ++n) {
    files_.reset();
    files_.fail_at(n);
    EXPECT_FALSE(ReplaceFile(files_, folder_.path("file"), "new"));
    EXPECT_TRUE(SystemFiles().list(folder_.path())->empty()) << n;
  }
}

TEST_F(FaultyFilesTest, WhatWasFlushedTravelsWithAFolderThatIsRenamed) {
  ASSERT_TRUE(files_.make_directory(folder_.path("a")));
  const std::string path = JoinPath(folder_.path("a"), "file");
  {
    const auto file = files_.open(path, OpenMode::kAppendNew).value();
    ASSERT_TRUE(file->append("kept"));
    ASSERT_TRUE(file->sync());
    ASSERT_TRUE(file->append("lost"));
  }
  ASSERT_TRUE(files_.rename_new(folder_.path("a"), folder_.path("b")));
  files_.lose_unsynced();
  EXPECT_EQ(ReadFile(SystemFiles(), JoinPath(folder_.path("b"), "file")).value_or(""), "kept");
}

/// The obvious account of what a disk keeps: per file its bytes and how many of them are flushed.
struct ModelFile {
  std::string bytes;
  std::size_t flushed = 0;
};

TEST_F(FaultyFilesTest, LosesExactlyWhatAModelLoses) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto below = [&](std::size_t bound) { return static_cast<std::size_t>(random() % bound); };
  std::map<std::string, ModelFile> model;
  const std::array<std::string, 3> names{"a", "b", "c"};
  int losses = 0;
  for (int step = 0; step < 1500; ++step) {
    const std::string& name = names[below(names.size())];
    const std::string& other = names[below(names.size())];
    const std::size_t what = below(20);
    if (what < 10) {
      const std::string bytes(below(40), static_cast<char>('a' + step % 26));
      ASSERT_TRUE(open(name, OpenMode::kAppendNew)->append(bytes));
      model[name].bytes += bytes;
    } else if (what < 13) {
      ASSERT_TRUE(open(name, OpenMode::kAppendNew)->sync());
      model[name].flushed = model[name].bytes.size();
    } else if (what < 15 && model.contains(name)) {
      const std::size_t size = below(model[name].bytes.size() + 1);
      ASSERT_TRUE(open(name, OpenMode::kAppend)->truncate(size));
      model[name].bytes.resize(size);
      model[name].flushed = std::min(model[name].flushed, size);
    } else if (what < 16) {
      open(name, OpenMode::kReplace);
      model[name] = {};
    } else if (what < 18 && model.contains(name) && name != other) {
      ASSERT_TRUE(files_.rename_replace(folder_.path(name), folder_.path(other)));
      model[other] = model[name];
      model.erase(name);
    } else if (what == 18 && model.contains(name)) {
      ASSERT_TRUE(files_.remove_file(folder_.path(name)));
      model.erase(name);
    } else if (what == 19 && below(4) == 0) {
      files_.lose_unsynced();
      ++losses;
      for (auto& [file, state] : model) {
        state.bytes.resize(state.flushed);
        ASSERT_EQ(read(file), state.bytes) << file << " at step " << step;
      }
    }
  }
  EXPECT_GE(losses, 3);
}

}  // namespace
}  // namespace mrb::platform
