#include "platform/process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>

#include "common/text.h"
#include "platform/console.h"
#include "platform/file_lock.h"
#include "platform/files.h"
#include "platform/log_file.h"
#include "platform/main_loop.h"
#include "platform/paths.h"
#include "temp_folder.h"

namespace mrb::platform {
namespace {

bool OnWindows() {
  return SystemPathStyle() == PathStyle::kWindows;
}

/// This program's arguments; the test framework has taken its own out of main()'s by now.
std::vector<std::string> OwnArguments() {
  std::vector<std::string> all = ::testing::internal::GetArgvs();
  std::vector<char*> pointers;
  pointers.reserve(all.size());
  for (std::string& argument : all) pointers.push_back(argument.data());
  return ProcessArguments(static_cast<int>(pointers.size()), pointers.data());
}

/// Looks until the file is there; a child that never writes it fails the test.
std::string AwaitFile(const std::string& path) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (std::chrono::steady_clock::now() < deadline) {
    if (auto text = ReadFile(SystemFiles(), path)) return *text;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return "no answer from the child";
}

constexpr const char* kChildMark = "--be-the-child";

/// What the child does that the test below starts; its folder is the working directory.
void BeTheChild(const std::vector<std::string>& arguments) {
  std::string report = "[" + Join(arguments, "][") + "]";
  // A hidden console has an input that never ends; elsewhere it ends at once.
  report += !OnWindows() && ReadStdinLine() ? " input" : " no input";
  auto lock = FileLock::try_acquire("lock");
  report += lock ? " locked" : " " + lock.error().text;
  const Status detached = DetachConsole("log");
  report += detached ? " detached" : " " + detached.error().text;
  WriteStdout("to the log\n");
  WriteStderr("this too\n");
  const bool reported = ReplaceFile(SystemFiles(), "report", report).has_value();
  std::_Exit(reported ? 0 : 1);  // with the lock still held, as in a crash
}

/// Turns a copy of this program into the child before its first test.
class ChildRole : public ::testing::Environment {
 public:
  void SetUp() override {
    const std::vector<std::string> arguments = OwnArguments();
    if (arguments.size() > 1 && arguments[1] == kChildMark) BeTheChild(arguments);
  }
};

[[maybe_unused]] const auto* const kChildRole =
    ::testing::AddGlobalTestEnvironment(std::make_unique<ChildRole>().release());

TEST(SpawnTest, AChildGetsItsArgumentsItsFolderAndNothingElse) {
  const test::TempFolder folder;
  const std::vector<std::string> arguments{ExecutablePath(), kChildMark, "plain", "two words", "",
                                           "q\"uo\\te\\",    "\xC3\xA4"};
  const Status spawned = SpawnDetached(arguments, folder.path());
  ASSERT_TRUE(spawned) << spawned.error().text;
  EXPECT_EQ(AwaitFile(folder.path("report")),
            "[" + Join(arguments, "][") + "] no input locked detached");
  EXPECT_EQ(AwaitFile(folder.path("log")), "to the log\nthis too\n");
  // The child is gone or about to be, and its lock with it.
  Result<FileLock> lock = FileLock::try_acquire(folder.path("lock"));
  while (!lock && lock.error().kind == ErrorKind::kBusy) {
    std::this_thread::yield();
    lock = FileLock::try_acquire(folder.path("lock"));
  }
  EXPECT_TRUE(lock);
}

TEST(SpawnTest, WhatCannotBeStartedIsSaid) {
  const test::TempFolder folder;
  const std::string missing = folder.path("missing.exe");
  const Status no_program = SpawnDetached({missing}, folder.path());
  ASSERT_FALSE(no_program);
  EXPECT_EQ(no_program.error().kind, ErrorKind::kNotFound);
  EXPECT_NE(no_program.error().text.find(missing), std::string::npos);
  EXPECT_FALSE(SpawnDetached({ExecutablePath(), "--help"}, folder.path("no folder")));
  EXPECT_FALSE(SpawnDetached({}, folder.path()));
}

TEST(ProcessTest, KnowsItselfAndItsSurroundings) {
  EXPECT_EQ(SystemFiles().status(ExecutablePath())->type, FileStatus::Type::kFile);
  EXPECT_EQ(SystemFiles().status(CurrentDirectory())->type, FileStatus::Type::kDirectory);
  EXPECT_TRUE(EnvironmentVariable("PATH"));
  EXPECT_FALSE(EnvironmentVariable("MIREBOLT_TEST_NO_SUCH_VARIABLE"));
  const std::string runtime = RuntimeFolder();
  EXPECT_EQ(SystemFiles().status(runtime)->type, FileStatus::Type::kDirectory);
  if (!OnWindows()) {
    const auto rights = std::filesystem::status(runtime).permissions();
    EXPECT_EQ(rights & std::filesystem::perms::others_all, std::filesystem::perms::none);
  }
  const std::string home = DefaultDataHome();
  EXPECT_TRUE(home.empty() || home.ends_with(OnWindows() ? "\\Mirebolt" : "/mirebolt")) << home;
}

TEST(LogFileTest, OnlyALargeLogIsSetAside) {
  const test::TempFolder folder;
  const std::string log = folder.path("log");
  SetAsideLargeLog(log);  // there is none
  for (const std::size_t size : {5'000'000U, 5'000'001U}) {
    ASSERT_TRUE(ReplaceFile(SystemFiles(), log, std::string(size, 'x')));
    SetAsideLargeLog(log);
    EXPECT_EQ(Exists(SystemFiles(), log), size == 5'000'000U);
    EXPECT_EQ(Exists(SystemFiles(), log + ".old"), size > 5'000'000U);
  }
}

TEST(UntilClosedTest, ARequestOrASignalEndsTheLoopEvenBeforeItBegins) {
  PrepareMainLoop();
  ShowBalloon("Mirebolt", "text");
  if (OnWindows()) {
    RequestClose();
  } else {
    std::raise(SIGTERM);  // would end this program if nobody had taken charge of it
  }
  RunMainLoop({"title", {}});
  std::thread closer(RequestClose);
  RunMainLoop({"title", {}});
  closer.join();
}

}  // namespace
}  // namespace mrb::platform
