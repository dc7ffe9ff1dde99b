#include "platform/paths.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/command_words.h"

namespace mrb::platform {
namespace {

constexpr PathStyle kPosix = PathStyle::kPosix;
constexpr PathStyle kWindows = PathStyle::kWindows;

TEST(PathsTest, ParentOfEveryForm) {
  struct Case {
    PathStyle style;
    const char* path;
    const char* parent;
  };
  for (const auto& [style, path, parent] : std::vector<Case>{
           {kPosix, "/a/b", "/a"},
           {kPosix, "/a", "/"},
           {kPosix, "/", "/"},
           {kPosix, "a/b", "a"},
           {kPosix, "a", "."},
           {kPosix, "", "."},
           {kPosix, "/a/b/", "/a"},
           {kPosix, "/a//b", "/a"},
           {kPosix, "//a", "/"},
           {kPosix, "C:\\a", "."},
           {kPosix, "/a\\b/c", "/a\\b"},
           {kWindows, "C:\\a\\b", "C:\\a"},
           {kWindows, "C:/a/b", "C:/a"},
           {kWindows, "C:\\a", "C:\\"},
           {kWindows, "C:\\", "C:\\"},
           {kWindows, "C:a", "C:"},
           {kWindows, "C:\\a/b\\", "C:\\a"},
           {kWindows, "\\a", "\\"},
           {kWindows, "a\\b", "a"},
           {kWindows, "a", "."},
           {kWindows, "\\\\server\\share\\x", "\\\\server\\share"},
       }) {
    EXPECT_EQ(ParentPath(path, style), parent) << path;
  }
}

TEST(PathsTest, JoinPutsOneSeparatorBetween) {
  EXPECT_EQ(JoinPath("/a", "b", kPosix), "/a/b");
  EXPECT_EQ(JoinPath("/", "b", kPosix), "/b");
  EXPECT_EQ(JoinPath("a\\", "b", kPosix), "a\\/b");
  EXPECT_EQ(JoinPath("", "b", kPosix), "b");
  EXPECT_EQ(JoinPath("C:\\a", "b", kWindows), "C:\\a\\b");
  EXPECT_EQ(JoinPath("C:/a/", "b", kWindows), "C:/a/b");
  EXPECT_EQ(JoinPath("C:\\", "b", kWindows), "C:\\b");
}

TEST(PathsTest, NativeFormTurnsSlashesOnlyWhereTheyAreForeign) {
  EXPECT_EQ(NativePath("a/b\\c", kPosix), "a/b\\c");
  EXPECT_EQ(NativePath("a/b\\c", kWindows), "a\\b\\c");
  EXPECT_EQ(PathSeparator(), PathSeparator(SystemPathStyle()));
}

TEST(WindowsCommandLineTest, QuotesWhatWouldBeSplitOrEaten) {
  struct Case {
    std::vector<std::string> arguments;
    const char* line;
  };
  for (const auto& [arguments, line] : std::vector<Case>{
           {{R"(C:\p q\mb.exe)", "boot", "--port", "9999"}, R"("C:\p q\mb.exe" boot --port 9999)"},
           {{"mb", ""}, R"("mb" "")"},
           {{"mb", "a b", "c\td"}, "\"mb\" \"a b\" \"c\td\""},
           {{"mb", R"(C:\dir\)"}, R"("mb" C:\dir\)"},
           {{"mb", R"(C:\my dir\)"}, R"("mb" "C:\my dir\\")"},
           {{"mb", R"(say "x")"}, R"("mb" "say \"x\"")"},
           {{"mb", R"(a\"b)"}, R"("mb" "a\\\"b")"},
           {{"mb", R"(a\\ b)"}, R"("mb" "a\\ b")"},
       }) {
    EXPECT_EQ(WindowsCommandLine(arguments), line);
  }
}

}  // namespace
}  // namespace mrb::platform
