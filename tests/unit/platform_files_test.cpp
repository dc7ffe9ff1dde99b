#include "platform/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "platform/paths.h"
#include "temp_folder.h"

namespace mrb::platform {
namespace {

using OpenMode = FileSystem::OpenMode;
using Type = FileStatus::Type;

class FilesTest : public ::testing::Test {
 protected:
  std::unique_ptr<OpenFile> open(const std::string& path, OpenMode mode) {
    auto file = files_.open(path, mode);
    EXPECT_TRUE(file) << file.error().text;
    return file ? std::move(*file) : nullptr;
  }
  void write(const std::string& path, std::string_view text) {
    EXPECT_TRUE(open(path, OpenMode::kReplace)->append(text));
  }
  std::string read(const std::string& path) {
    return ReadFile(files_, path).value_or("unreadable");
  }

  FileSystem& files_ = SystemFiles();
  test::TempFolder folder_;
};

template <typename T>
ErrorKind KindOf(const Result<T>& result) {
  return result ? ErrorKind::kUnavailable : result.error().kind;
}

TEST_F(FilesTest, ModesMakeEmptyAndAppend) {
  const std::string path = folder_.path("file");
  EXPECT_EQ(KindOf(files_.open(path, OpenMode::kRead)), ErrorKind::kNotFound);
  EXPECT_EQ(KindOf(files_.open(path, OpenMode::kAppend)), ErrorKind::kNotFound);
  EXPECT_TRUE(open(path, OpenMode::kAppendNew)->append("one "));
  EXPECT_TRUE(open(path, OpenMode::kAppendNew)->append("two "));
  EXPECT_TRUE(open(path, OpenMode::kAppend)->append("three"));
  EXPECT_EQ(read(path), "one two three");
  write(path, "new");
  EXPECT_EQ(read(path), "new");
}

TEST_F(FilesTest, TwoHandlesBothAppendAtTheEnd) {
  const std::string path = folder_.path("file");
  const auto first = open(path, OpenMode::kAppendNew);
  const auto second = open(path, OpenMode::kAppend);
  EXPECT_TRUE(first->append("a"));
  EXPECT_TRUE(second->append("b"));
  EXPECT_TRUE(first->append("c"));
  EXPECT_TRUE(second->sync());
  EXPECT_EQ(read(path), "abc");
}

TEST_F(FilesTest, TruncateCutsAndTheNextAppendFollows) {
  const auto file = open(folder_.path("file"), OpenMode::kAppendNew);
  EXPECT_TRUE(file->append("0123456789"));
  EXPECT_TRUE(file->truncate(4));
  EXPECT_EQ(file->size().value(), 4U);
  EXPECT_TRUE(file->append("x"));
  std::array<char, 16> bytes{};
  EXPECT_EQ(file->read_at(2, bytes.data(), bytes.size()).value(), 3U);
  EXPECT_EQ(std::string(bytes.data(), 3), "23x");
  EXPECT_EQ(file->read_at(5, bytes.data(), bytes.size()).value(), 0U);
  EXPECT_EQ(file->read_at(1'000'000, bytes.data(), bytes.size()).value(), 0U);
}

TEST_F(FilesTest, ReadFileKeepsEveryByteOfAnySize) {
  for (const std::size_t size : {0U, 1U, 4095U, 4096U, 70'001U}) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31);
    write(folder_.path("file"), bytes);
    EXPECT_EQ(read(folder_.path("file")), bytes);
  }
}

TEST_F(FilesTest, StatusAndListTellWhatIsThere) {
  const std::string file = JoinPath(folder_.path(), "gr\xC3\xBC\xC3\x9F.txt");  // umlaut, sharp s
  const std::string inner = folder_.path("inner");
  write(file, "12345");
  ASSERT_TRUE(files_.make_directory(inner));
  EXPECT_EQ(files_.status(file)->type, Type::kFile);
  EXPECT_EQ(files_.status(file)->size, 5U);
  EXPECT_EQ(files_.status(inner)->type, Type::kDirectory);
  EXPECT_EQ(files_.status(inner)->size, 0U);
  // Any clock that is set at all: after 2020, before 2100.
  EXPECT_GT(files_.status(file)->modified_ns, 1'577'836'800'000'000'000);
  EXPECT_LT(files_.status(file)->modified_ns, 4'102'444'800'000'000'000);

  auto entries = files_.list(folder_.path()).value();
  std::ranges::sort(entries, {}, &DirectoryEntry::name);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].name, "gr\xC3\xBC\xC3\x9F.txt");
  EXPECT_EQ(entries[0].type, Type::kFile);
  EXPECT_EQ(entries[1].name, "inner");
  EXPECT_EQ(entries[1].type, Type::kDirectory);
  EXPECT_TRUE(files_.list(inner)->empty());
}

TEST_F(FilesTest, WhatIsMissingIsNotFoundAndNamesThePath) {
  const std::string path = JoinPath(folder_.path("no"), "where");
  const std::string other = folder_.path("other");
  EXPECT_EQ(KindOf(files_.status(path)), ErrorKind::kNotFound);
  EXPECT_EQ(KindOf(files_.list(path)), ErrorKind::kNotFound);
  EXPECT_EQ(KindOf(files_.make_directory(path)), ErrorKind::kNotFound);
  EXPECT_EQ(KindOf(files_.remove_file(path)), ErrorKind::kNotFound);
  EXPECT_EQ(KindOf(files_.rename_replace(path, other)), ErrorKind::kNotFound);
  EXPECT_EQ(KindOf(files_.rename_new(path, other)), ErrorKind::kNotFound);
  EXPECT_EQ(KindOf(files_.open(path, OpenMode::kReplace)), ErrorKind::kNotFound);
  EXPECT_NE(files_.status(path).error().text.find(path), std::string::npos);
}

TEST_F(FilesTest, RenamesReplaceOnlyWhenAsked) {
  const std::string a = folder_.path("a");
  const std::string b = folder_.path("b");
  write(a, "A");
  write(b, "B");
  EXPECT_EQ(KindOf(files_.rename_new(a, b)), ErrorKind::kAlreadyExists);
  EXPECT_EQ(read(a) + read(b), "AB");
  EXPECT_TRUE(files_.rename_replace(a, b));
  EXPECT_EQ(read(b), "A");
  EXPECT_FALSE(Exists(files_, a));
  EXPECT_TRUE(files_.rename_new(b, a));
  EXPECT_EQ(read(a), "A");
  EXPECT_TRUE(files_.remove_file(a));
  EXPECT_TRUE(files_.list(folder_.path())->empty());
}

TEST_F(FilesTest, FoldersAreRenamedButNeverReplaced) {
  const std::string a = folder_.path("a");
  const std::string b = folder_.path("b");
  ASSERT_TRUE(files_.make_directory(a));
  write(JoinPath(a, "file"), "x");
  ASSERT_TRUE(files_.make_directory(b));
  EXPECT_EQ(KindOf(files_.make_directory(b)), ErrorKind::kAlreadyExists);
  EXPECT_EQ(KindOf(files_.rename_new(a, b)), ErrorKind::kAlreadyExists);  // though b is empty
  EXPECT_TRUE(files_.rename_new(a, folder_.path("c")));
  EXPECT_EQ(read(JoinPath(folder_.path("c"), "file")), "x");
  EXPECT_TRUE(files_.sync_directory(folder_.path()));
}

TEST_F(FilesTest, MakeDirectoriesMakesWhatIsMissingAndMindsFiles) {
  const std::string deep = JoinPath(JoinPath(folder_.path("x"), "y"), "z");
  EXPECT_TRUE(MakeDirectories(files_, deep));
  EXPECT_TRUE(MakeDirectories(files_, deep));
  EXPECT_EQ(files_.status(deep)->type, Type::kDirectory);
  write(folder_.path("file"), "");
  EXPECT_EQ(KindOf(MakeDirectories(files_, folder_.path("file"))), ErrorKind::kAlreadyExists);
  EXPECT_FALSE(MakeDirectories(files_, JoinPath(folder_.path("file"), "below")));
}

TEST_F(FilesTest, PathsMayBeLongerThanAnyPlainOne) {
  std::string path = folder_.path();
  for (int i = 0; i < 8; ++i) path = JoinPath(path, std::string(60, 'p'));
  ASSERT_TRUE(MakeDirectories(files_, path));
  const std::string file = JoinPath(path, "file");
  EXPECT_TRUE(ReplaceFile(files_, file, "first"));
  EXPECT_TRUE(ReplaceFile(files_, file, "second"));
  EXPECT_EQ(read(file), "second");
  EXPECT_EQ(files_.list(path)->size(), 1U);
}

TEST_F(FilesTest, DevicesAreNotOpened) {
  const char* device = SystemPathStyle() == PathStyle::kWindows ? "NUL" : "/dev/zero";
  EXPECT_EQ(KindOf(files_.open(device, OpenMode::kRead)), ErrorKind::kInvalidArgument);
}

TEST_F(FilesTest, ReplaceFileWritesPiecesOverALeftover) {
  const std::string path = folder_.path("file");
  write(path + ".tmp", "left by a crash, and longer than what comes");
  const std::array<std::string_view, 3> pieces{"one", "", "two"};
  EXPECT_TRUE(ReplaceFile(files_, path, pieces));
  EXPECT_EQ(read(path), "onetwo");
  EXPECT_EQ(files_.list(folder_.path())->size(), 1U);
}

TEST_F(FilesTest, AReaderKeepsTheOldFileThroughAReplacement) {
  const std::string path = folder_.path("file");
  write(path, "old");
  const auto reader = open(path, OpenMode::kRead);
  const Status replaced = ReplaceFile(files_, path, "new");
  // A system that cannot replace a file which is open says so and changes nothing.
  EXPECT_EQ(read(path), replaced ? "new" : "old");
  std::array<char, 3> bytes{};
  EXPECT_EQ(reader->read_at(0, bytes.data(), 3).value(), 3U);
  EXPECT_EQ(std::string(bytes.data(), 3), "old");
}

}  // namespace
}  // namespace mrb::platform
