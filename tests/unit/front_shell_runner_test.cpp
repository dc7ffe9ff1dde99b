#include "front/commands/line_driver.h"

#include <gtest/gtest.h>

#include "platform/paths.h"

namespace mrb::front {
namespace {

bool OnWindows() {
  return platform::SystemPathStyle() == platform::PathStyle::kWindows;
}

TEST(ShellRunnerTest, TellsWhatCameOfACommand) {
  const std::pair<const char*, const char*> everywhere[] = {
      {"exit 0", "(no output)"},
      {"exit 3", "[exit 3]"},
  };
  for (const auto& [command, text] : everywhere) EXPECT_EQ(RunShell(command, ""), text) << command;
  const std::string missing = OnWindows() ? "C:\\no such folder" : "/no such folder";
  EXPECT_EQ(RunShell("echo x", missing),
            "ERROR: shell launch failed (err " + std::string(OnWindows() ? "267" : "2") + ")");
  const std::pair<const char*, const char*> here[] = {
      {OnWindows() ? "echo x&exit 3" : "echo x; exit 3",
       OnWindows() ? "x\r\n[exit 3]" : "x\n[exit 3]"},
      {OnWindows() ? "echo \"a b\"& echo \"c\"" : "printf '\\n\\nx\\n\\n\\n'",
       OnWindows() ? "\"a b\"\r\n\"c\"\r" : "\n\nx"},
      {OnWindows() ? "set /p x=& exit 1" : "read x", "[exit 1]"},
  };
  for (const auto& [command, text] : here) EXPECT_EQ(RunShell(command, ""), text) << command;
}

TEST(ShellRunnerTest, EndsWhatTakesTooLongOrSaysTooMuch) {
  const std::string sleep = OnWindows() ? "ping -n 100 127.0.0.1 >NUL" : "sleep 100";
  const std::string killed = "[killed: no exit after 120s — command tree terminated]";
  const platform::ShellLimits limits{.run = std::chrono::milliseconds{500}, .output = 2};
  EXPECT_EQ(RunShell("echo abc&& " + sleep, "", limits),
            "ab\n[output cut after 2 bytes]\n" + killed);
}

}  // namespace
}  // namespace mrb::front
