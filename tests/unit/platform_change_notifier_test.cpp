#include "platform/change_notifier.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "platform/files.h"
#include "platform/paths.h"
#include "temp_folder.h"

namespace mrb::platform {
namespace {

namespace fs = std::filesystem;
using Event = ChangeNotifier::Event;

// A change is waited for that long before the test gives up; that nothing changed is only asked.
constexpr std::chrono::milliseconds kPatience{10'000};
constexpr std::chrono::milliseconds kNow{0};

class ChangeNotifierTest : public ::testing::Test {
 protected:
  ChangeNotifierTest() { fs::create_directory(folder_.path("root")); }

  std::string in_root(const std::string& path) {
    return JoinPath(folder_.path("root"), NativePath(path));
  }
  void write(const std::string& path) {
    ASSERT_TRUE(ReplaceFile(SystemFiles(), in_root(path), "text"));
  }
  /// Whether the change is noticed; the notifier is quiet afterwards.
  static Event noticed(ChangeNotifier& notifier) {
    const Event event = notifier.wait(kPatience);
    while (notifier.wait(kNow) == Event::kChanged) notifier.rearm();
    return event;
  }

  test::TempFolder folder_;
};

TEST_F(ChangeNotifierTest, NoticesFilesDirectlyInAFolderOnceUntilRearmed) {
  fs::create_directory(in_root("below"));
  const auto notifier = WatchFolder(folder_.path("root")).value();
  EXPECT_EQ(notifier->wait(kNow), Event::kTimedOut);
  write("file");
  EXPECT_EQ(notifier->wait(kPatience), Event::kChanged);
  EXPECT_EQ(notifier->wait(kPatience), Event::kChanged);
  EXPECT_EQ(noticed(*notifier), Event::kChanged);
  write("below/file");
  EXPECT_EQ(notifier->wait(kNow), Event::kTimedOut);
  fs::remove(in_root("file"));
  EXPECT_EQ(noticed(*notifier), Event::kChanged);
  EXPECT_EQ(notifier->take_warning(), "");
}

TEST_F(ChangeNotifierTest, NoticesChangesInFoldersThatComeAndMove) {
  if (SystemPathStyle() == PathStyle::kWindows) return;  // Wine notices nothing below the root
  fs::create_directories(in_root("old/deep"));
  fs::create_directories(in_root("pruned"));
  fs::create_directories(folder_.path("outside/inner"));
  const auto notifier = WatchTree(folder_.path("root"), [](std::string_view name) {
                          return name != "pruned";
                        }).value();
  write("old/deep/file");
  EXPECT_EQ(noticed(*notifier), Event::kChanged);
  write("pruned/file");
  EXPECT_EQ(notifier->wait(kNow), Event::kTimedOut);
  fs::create_directories(in_root("new/a/b"));
  EXPECT_EQ(noticed(*notifier), Event::kChanged);
  write("new/a/b/file");
  EXPECT_EQ(noticed(*notifier), Event::kChanged);
  fs::rename(folder_.path("outside"), in_root("moved-in"));
  EXPECT_EQ(noticed(*notifier), Event::kChanged);
  write("moved-in/inner/file");
  EXPECT_EQ(noticed(*notifier), Event::kChanged);
  fs::rename(in_root("old"), folder_.path("moved-out"));
  EXPECT_EQ(noticed(*notifier), Event::kChanged);
  ASSERT_TRUE(ReplaceFile(SystemFiles(), folder_.path("moved-out/deep/file"), "unseen"));
  EXPECT_EQ(notifier->wait(kNow), Event::kTimedOut);
}

TEST_F(ChangeNotifierTest, TellsThatTheRootIsGone) {
  if (SystemPathStyle() == PathStyle::kWindows) return;  // Wine keeps a folder that is open
  const auto removed = WatchTree(folder_.path("root"), [](auto) { return true; }).value();
  const auto renamed = WatchFolder(folder_.path("root")).value();
  fs::rename(folder_.path("root"), folder_.path("elsewhere"));
  EXPECT_EQ(noticed(*renamed), Event::kChanged);
  EXPECT_EQ(renamed->wait(kPatience), Event::kGone);
  fs::remove_all(folder_.path("elsewhere"));
  EXPECT_EQ(noticed(*removed), Event::kChanged);
  EXPECT_EQ(removed->wait(kPatience), Event::kGone);
  EXPECT_EQ(WatchFolder(folder_.path("root")).error().kind, ErrorKind::kNotFound);
}

}  // namespace
}  // namespace mrb::platform
