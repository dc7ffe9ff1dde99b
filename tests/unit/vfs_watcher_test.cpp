#include "vfs/watch/watcher.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include "platform/files.h"
#include "temp_folder.h"
#include "vfs/watch/watch_lock.h"

namespace mrb::vfs {
namespace {

using platform::PathStyle;
using platform::SystemFiles;
using Event = platform::ChangeNotifier::Event;
using Shape = WatchLoop::Shape;

/// Gives the events of a script and writes down what is done to it.
class ScriptedNotifier : public platform::ChangeNotifier {
 public:
  ScriptedNotifier(std::string_view script, std::string& log) : script_(script), log_(log) {}

  Event wait(std::chrono::milliseconds limit) override {
    log_ += "w" + std::to_string(limit.count()) + " ";
    const char event = script_.front();
    script_.remove_prefix(1);
    return event == 'c' ? Event::kChanged : event == 't' ? Event::kTimedOut : Event::kGone;
  }
  void rearm() override { log_ += "rearm "; }
  std::string take_warning() override { return {}; }

 private:
  std::string_view script_;
  std::string& log_;
};

/// What a loop does about the events ('c'hanged, 't'imed out, 'g'one), when its passes leave work
/// unfinished where `unfinished` holds a '1'.
std::string Done(Shape shape, std::string_view events, std::string unfinished = "") {
  std::string log;
  ScriptedNotifier notifier(events, log);
  WatchLoop loop(
      notifier, shape,
      [&] {
        log += "look ";
        const bool again = unfinished.starts_with('1');
        unfinished.erase(0, 1);
        return again;
      },
      [&](WatchLoop::Milliseconds limit) { log += "p" + std::to_string(limit.count()) + " "; });
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (!loop.step()) log += "end ";
  }
  return log;
}

TEST(WatchLoopTest, SettlesAndRearmsBeforeItLooks) {
  EXPECT_EQ(Done(Shape::kTree, "cct"), "w250 p150 rearm look w250 p150 rearm look w250 ");
}

TEST(WatchLoopTest, LooksAfterASecondWithoutNotice) {
  EXPECT_EQ(Done(Shape::kTree, "tttttttt"), "w250 w250 w250 w250 look w250 w250 w250 w250 look ");
  EXPECT_EQ(Done(Shape::kTree, "tttctttt"),
            "w250 w250 w250 w250 p150 rearm look w250 w250 w250 w250 look ");
}

TEST(WatchLoopTest, OnlySingleFilesAreRepeatedQuickly) {
  EXPECT_EQ(Done(Shape::kTree, "ctt", "1"), "w250 p150 rearm look w250 w250 ");
  EXPECT_EQ(Done(Shape::kFolder, "ctct", "110"),
            "w250 p150 rearm look p100 w0 look p100 w0 rearm look w250 ");
}

TEST(WatchLoopTest, LooksOnceMoreWhenTheRootIsGone) {
  EXPECT_EQ(Done(Shape::kTree, "tg"), "w250 w250 look end ");
  EXPECT_EQ(Done(Shape::kFolder, "cg", "1"), "w250 p150 rearm look p100 w0 look end ");
}

TEST(WatchLockTest, NamesFollowThePathAndNotItsSpelling) {
  const auto windows = [](std::string_view root) {
    return WatchLockName(root, PathStyle::kWindows);
  };
  EXPECT_EQ(windows("C:\\Src\\My App\\"), windows("c:/src/my app"));
  EXPECT_NE(windows("C:\\a\\app"), windows("C:\\b\\app"));
  EXPECT_TRUE(windows("C:\\Src\\My App").starts_with("my_app-"));
  EXPECT_NE(WatchLockName("/Src", PathStyle::kPosix), WatchLockName("/src", PathStyle::kPosix));
  EXPECT_EQ(WatchLockName("/", PathStyle::kPosix).find('/'), std::string::npos);
}

class WatcherTest : public ::testing::Test {
 protected:
  WatcherTest() { std::filesystem::create_directory(root_); }

  WatchSetup setup(Shape shape) {
    WatchSetup setup;
    setup.root = root_;
    setup.shape = shape;
    setup.reconcile = [this] {
      const std::lock_guard lock(mutex_);
      ++passes_;
      files_ = SystemFiles().list(root_).value_or(std::vector<platform::DirectoryEntry>{}).size();
      changed_.notify_all();
      if (passes_ == 2) throw std::runtime_error("once");
      return false;
    };
    setup.say = [this](std::string_view line) {
      const std::lock_guard lock(mutex_);
      said_ += line;
    };
    return setup;
  }
  /// Waits until a pass has seen that many files; the time is only for a test that fails.
  bool saw(std::size_t files) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return files_ == files; });
  }
  auto own() { return OwnRoot(SystemFiles(), folder_.path("locks"), root_); }

  test::TempFolder folder_;
  std::string root_ = folder_.path("root");
  std::mutex mutex_;
  std::condition_variable changed_;
  int passes_ = 0;
  std::size_t files_ = ~std::size_t{0};  // no pass yet
  std::string said_;
};

TEST_F(WatcherTest, TakesTheBaselineThenFollowsUntilStopped) {
  for (const Shape shape : {Shape::kTree, Shape::kFolder}) {
    auto owner = own();
    ASSERT_TRUE(owner) << owner.error().text;
    auto watcher = Watcher::start(setup(shape), std::move(*owner)).value();
    EXPECT_EQ(own().error().text, kFollowerMessage);
    const std::size_t before = shape == Shape::kTree ? 0 : 1;
    EXPECT_TRUE(saw(before));
    ASSERT_TRUE(platform::ReplaceFile(
        SystemFiles(), platform::JoinPath(root_, "file" + std::to_string(before)), "x"));
    EXPECT_TRUE(saw(before + 1));
    EXPECT_TRUE(watcher->is_running());
    watcher->request_stop();
    EXPECT_FALSE(watcher->is_running());
    watcher.reset();
    passes_ = 2;  // the next watcher's passes do not throw
  }
  EXPECT_EQ(said_, "watch of '" + root_ + "' failed: once, will retry");
}

TEST_F(WatcherTest, RefusesWithTheReason) {
  WatchSetup off = setup(Shape::kTree);
  off.is_allowed = false;
  EXPECT_EQ(Watcher::start(off, std::nullopt).error().text,
            "oob watch is off by policy (watch=off)");
  WatchSetup rootless = setup(Shape::kTree);
  rootless.root.clear();
  EXPECT_EQ(Watcher::start(rootless, std::nullopt).error().text, "no disk root to watch");
  root_ = folder_.path("none");
  EXPECT_EQ(Watcher::start(setup(Shape::kTree), std::nullopt).error().kind, ErrorKind::kNotFound);
  EXPECT_EQ(passes_, 0);
}

}  // namespace
}  // namespace mrb::vfs
