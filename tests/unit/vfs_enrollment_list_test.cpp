#include "vfs/policy/enrollment_list.h"

#include <gtest/gtest.h>

#include <random>

#include "platform/faulty_files.h"
#include "platform/files.h"
#include "temp_folder.h"
#include "vfs/policy/watched_files.h"

namespace mrb::vfs {
namespace {

using platform::FaultyFiles;
using platform::PathStyle;
using platform::SystemFiles;

class EnrollmentListTest : public ::testing::Test {
 protected:
  static Policy policy(std::string_view flags) { return ParsePolicy(flags)->applied_to({}); }

  std::string text() { return platform::ReadFile(SystemFiles(), path_).value_or("none"); }
  void write(std::string_view text) {
    ASSERT_TRUE(platform::ReplaceFile(SystemFiles(), path_, text));
  }

  /// "directory=scope" of each entry, then the warnings without their path.
  std::vector<std::string> told(const EnrollmentList& list) {
    const auto contents = list.read().value();
    std::vector<std::string> all;
    all.reserve(contents.entries.size() + contents.warnings.size());
    for (const auto& entry : contents.entries) {
      all.push_back(entry.directory + "=" + FormatPolicy(entry.policy.applied_to({})).substr(6, 3));
    }
    for (const auto& warning : contents.warnings) all.push_back(warning.substr(path_.size()));
    return all;
  }
  using Told = std::vector<std::string>;

  test::TempFolder folder_;
  std::string path_ = platform::JoinPath(folder_.path("config"), "list.cfg");
};

TEST_F(EnrollmentListTest, AddsUpdatesInPlaceAndRemoves) {
  EnrollmentList list(SystemFiles(), path_, PathStyle::kPosix);
  EXPECT_EQ(told(list), Told());
  EXPECT_FALSE(list.remove("/a").value());
  ASSERT_TRUE(list.put("/a", {}));
  ASSERT_TRUE(list.put("/b :: c", policy("max=1gb")));
  ASSERT_TRUE(list.put("/A", {}));
  ASSERT_TRUE(list.put("/a/", policy("scope=edited")));
  EXPECT_EQ(text(),
            "/a/ :: scope=edited ext=none watch=on max=2gb mode=vc\n"
            "/b :: c :: scope=all ext=none watch=on max=1gb mode=vc\n"
            "/A :: scope=all ext=none watch=on max=2gb mode=vc\n");
  EXPECT_TRUE(list.remove("/b :: c").value());
  EXPECT_EQ(told(list), (Told{"/a/=edi", "/A=all"}));
}

TEST_F(EnrollmentListTest, KeepsAndReportsWhatItDoesNotUnderstand) {
  ASSERT_TRUE(platform::MakeDirectories(SystemFiles(), folder_.path("config")));
  const std::string bad = "# mine\r\n\n/nothing\n :: scope=all\n/x :: colour=red\n";
  write(bad + "C:\\Src :: scope=edited\r\nc:/src :: \nD:\\ :: mode=vc");
  EnrollmentList list(SystemFiles(), path_, PathStyle::kWindows);
  EXPECT_EQ(told(list),
            (Told{"C:\\Src=edi", "D:\\=all", " line 3: is not '<dir> :: <policy>'",
                  " line 4: is not '<dir> :: <policy>'", " line 5: unknown flag 'colour=red'",
                  " line 7: lists c:/src again"}));
  ASSERT_TRUE(list.put("c:\\SRC\\", {}));
  EXPECT_TRUE(list.remove("d:\\").value());
  EXPECT_EQ(text(), bad + "c:\\SRC\\ :: scope=all ext=none watch=on max=2gb mode=vc\n");
  ASSERT_TRUE(list.put("/x", policy("scope=edited")));  // a line whose policy alone was wrong
  EXPECT_EQ(told(list).front(), "/x=edi");
}

TEST_F(EnrollmentListTest, AFailedChangeLeavesTheListAsItWas) {
  EnrollmentList real(SystemFiles(), path_);
  ASSERT_TRUE(real.put("/a", {}));
  const std::string before = text();
  std::uint64_t n = 1;
  for (bool worked = false; !worked; ++n) {
    FaultyFiles files(SystemFiles());
    files.crash_at(n);
    EnrollmentList list(files, path_);
    worked = list.put("/b", {}).has_value();
    const bool renamed = text() != before;
    EXPECT_TRUE(!renamed || text().starts_with(before + "/b :: "));
    EXPECT_TRUE(!worked || renamed);
    if (!worked && renamed) {
      ASSERT_TRUE(real.remove("/b"));
    }
  }
  EXPECT_GT(n, 5U);
}

TEST_F(EnrollmentListTest, AnyPathFitsInALine) {
  std::mt19937 random(5);
  constexpr std::string_view kBytes = "%%025AD\n\r /:";
  for (int i = 0; i < 20'000; ++i) {
    std::string path;
    for (auto left = random() % 9; left > 0; --left) path += kBytes[random() % kBytes.size()];
    const std::string line = PathToLine(path);
    ASSERT_EQ(line.find_first_of("\r\n"), std::string::npos);
    ASSERT_EQ(PathFromLine(line), path) << line;
    if (path.empty()) continue;
    const auto entry = ParseEnrollment(FormatEnrollment("/" + path, {}));
    ASSERT_TRUE(entry) << path;
    ASSERT_EQ(entry->directory, "/" + path);
  }
  EXPECT_EQ(PathToLine("C:\\100%\\a b"), "C:\\100%\\a b");
}

TEST_F(EnrollmentListTest, WatchedFilesAreListedOnce) {
  WatchedFiles watched(SystemFiles(), path_, PathStyle::kWindows);
  EXPECT_TRUE(watched.add("C:\\a.txt").value());
  EXPECT_TRUE(watched.add("b\nc").value());
  EXPECT_FALSE(watched.add("c:/A.TXT").value());
  EXPECT_EQ(watched.read().value(), (std::vector<std::string>{"C:\\a.txt", "b\nc"}));
  EXPECT_EQ(text(), "C:\\a.txt\nb%0Ac\n");
  EXPECT_TRUE(watched.remove("C:\\A.txt").value());
  EXPECT_FALSE(watched.remove("C:\\A.txt").value());
  write("x\r\n\r\nx\n");
  EXPECT_EQ(watched.read().value(), std::vector<std::string>{"x"});
}

}  // namespace
}  // namespace mrb::vfs
