#include <gtest/gtest.h>

#include <array>
#include <future>
#include <thread>
#include <vector>

#include "common/text.h"
#include "platform/command_words.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/pseudo_console.h"
#include "platform/shell_command.h"
#include "temp_folder.h"

namespace mrb::platform {
namespace {

using std::chrono::milliseconds;

bool OnWindows() {
  return SystemPathStyle() == PathStyle::kWindows;
}

TEST(CommandWordsTest, SplitsAsAShellWouldOrLeavesItToOne) {
  const std::pair<const char*, std::optional<std::vector<std::string>>> cases[] = {
      {"bash -i", {{"bash", "-i"}}},
      {"  a\tb  ", {{"a", "b"}}},
      {R"('a b' "c d"e f\ g '' "")", {{"a b", "c de", "f g", "", ""}}},
      {R"(x "a\"b\\c\d" 'e\f')", {{"x", R"(a"b\c\d)", R"(e\f)"}}},
      {"x '$y|z' \"*;\" a=b", {{"x", "$y|z", "*;", "a=b"}}},
      {"", {}},
      {" ", {}},
      {"a 'b", {}},
      {"a \"b", {}},
      {"a \"$b\"", {}},
      {"a\\", {}},
      {"A=1 b", {}},
      {"a | b", {}},
      {"a $b", {}},
      {"~/a", {}},
      {"a\nb", {}},
  };
  for (const auto& [line, words] : cases) {
    EXPECT_EQ(SplitCommandWords(line), words) << line;
  }
}

/// A program on a terminal, and all that it wrote.
class Session {
 public:
  explicit Session(const std::string& command, const std::string& folder = "",
                   ConsoleSize size = {}) {
    auto opened = OpenPseudoConsole({command, folder, size});
    EXPECT_TRUE(opened) << opened.error().text;
    if (opened) console_ = std::move(*opened);
  }

  PseudoConsole& operator*() { return *console_; }
  PseudoConsole* operator->() { return console_.get(); }

  /// Reads until `text` was written, or to the end.
  bool shows(std::string_view text) {
    while (written_.find(text) == std::string::npos) {
      std::array<char, 4096> piece{};
      const auto got = console_->read(piece.data(), piece.size());
      if (!got || *got == 0) return false;
      written_.append(piece.data(), *got);
    }
    return true;
  }

  /// Reads to the end; the program's exit code.
  std::uint32_t finish() {
    shows("\xff never written");
    return console_->wait_for_exit().exit_code;
  }

  [[nodiscard]] const std::string& written() const { return written_; }

 private:
  std::unique_ptr<PseudoConsole> console_;
  std::string written_;
};

TEST(PseudoConsoleTest, GivesTheProgramARealTerminal) {
  if (OnWindows()) GTEST_SKIP() << "speaks to a POSIX shell";
  const test::TempFolder folder;
  Session session("/bin/sh", folder.path(), {91, 17});
  ASSERT_TRUE(session->write("tty; stty size; pwd; echo $TERM; cut -d' ' -f6 /proc/$$/stat\r"));
  ASSERT_TRUE(
      session->write("trap 'stty size; exit 7' WINCH; echo re''ady; while :; do :; done\r"));
  ASSERT_TRUE(session.shows("ready"));
  ASSERT_TRUE(session->resize({33, 44}));
  EXPECT_EQ(session.finish(), 7U);
  for (const std::string part : {"/dev/pts/", "17 91", "44 33", "xterm-256color"}) {
    EXPECT_NE(session.written().find(part), std::string::npos) << part << session.written();
  }
  EXPECT_NE(session.written().find(folder.path()), std::string::npos);
}

TEST(PseudoConsoleTest, LosesNoOutputOfAProgramThatEnds) {
  if (OnWindows()) GTEST_SKIP() << "speaks to a POSIX shell";
  for (int round = 0; round < 50; ++round) {
    Session session("sh -c 'printf %20000s | tr \" \" x; exit 3'");
    EXPECT_EQ(session.finish(), 3U);
    EXPECT_EQ(session.written(), std::string(20000, 'x'));
  }
  // One that lets go of its terminal ends too, and so does one that a signal ends.
  EXPECT_EQ(Session("sh -c 'exec <&- >&- 2>&-; exit 9'").finish(), 9U);
  EXPECT_EQ(Session("sh -c 'kill -9 $$'").finish(), 128U + 9U);
}

TEST(PseudoConsoleTest, EndsTheWholeTree) {
  if (OnWindows()) GTEST_SKIP() << "speaks to a POSIX shell";
  // Deaf to hanging up, with children in sessions of their own, orphans that no longer carry what
  // marked them among them.
  Session session(
      "sh -c 'trap \"\" HUP; (setsid sleep 31013 &) ; (env -i setsid sleep 31013 &) ; "
      "setsid sleep 31013 & echo up; while :; do sleep 1; done'");
  ASSERT_TRUE(session.shows("up"));
  auto ender = std::async(std::launch::async, [&] { session->end(); });
  EXPECT_EQ(session.finish(), 128U + 9U);
  ender.get();
  const auto left = RunShellCommand("pgrep -f '[s]leep 31013' || echo none", "");
  ASSERT_TRUE(left);
  EXPECT_EQ(left->output, "none\n");
}

TEST(PseudoConsoleTest, SaysWhatCannotBeStarted) {
  const auto missing = OpenPseudoConsole({"no-such-program-here x", "", {}});
  ASSERT_FALSE(missing);
  EXPECT_NE(missing.error().text.find("no-such-program-here"), std::string::npos);
  EXPECT_EQ(missing.error().text.find(" x"), std::string::npos);
}

std::string Shell(const std::string& command, const ShellLimits& limits = {}) {
  const auto outcome = RunShellCommand(command, "", limits);
  if (!outcome) return "error " + outcome.error().text;
  return outcome->output + "|" + std::to_string(outcome->exit_code) +
         (outcome->killed ? " killed" : "") + (outcome->cut ? " cut" : "");
}

TEST(ShellCommandTest, CapturesWhatACommandDoes) {
  EXPECT_EQ(Shell("exit 3"), "|3");
  EXPECT_EQ(RunShellCommand("echo x", "/no/such folder").error().system, OnWindows() ? 267 : 2);
  if (OnWindows()) return;
  EXPECT_EQ(Shell("echo out; echo err >&2; cat; exit 4"), "out\nerr\n|4");
  EXPECT_EQ(Shell("printf %0300000d 0", {.output = 10}), "0000000000|0 cut");
  EXPECT_EQ(Shell("kill -15 $$"), "|143");
  EXPECT_EQ(Shell("sleep 1000 & echo on", {.drain = milliseconds{20}}), "on\n|0");
}

TEST(ShellCommandTest, EndsACommandWithAllItStartedWhenItsTimeIsOver) {
  if (OnWindows()) GTEST_SKIP() << "speaks to a POSIX shell";
  const char* escapes[] = {
      "",
      "(setsid sleep 1001 &)",
      "(env -i setsid sleep 1001 &)",
      "(env -i setsid sh -c 'trap \"\" TERM; (setsid sleep 1001 &) ; sleep 1001' &)",
      "(while :; do env -i setsid sleep 1001 & sleep 0.01; done &)",
      // Without its supervisor the tree is still found by what marks it.
      "(setsid sleep 1001 &); kill -9 $PPID",
      "(env -i setsid sleep 1001 &); kill -STOP $PPID",
  };
  for (const std::string escape : escapes) {
    const std::string command = "trap '' HUP TERM; echo on; " + escape + "\n sleep 1001";
    EXPECT_EQ(Shell(command, {.run = milliseconds{300}}).substr(0, 6), "on\n|13") << escape;
    EXPECT_EQ(Shell("pgrep -f '[s]leep 1001'"), "|1") << escape;
  }
}

TEST(ShellCommandTest, LeavesAloneWhatOutlivesItsCommand) {
  if (OnWindows()) GTEST_SKIP() << "speaks to a POSIX shell";
  // A program left behind by a command that ended in time runs on; so does one that was started to
  // outlive any tree, with what it starts.
  const milliseconds drain{20};
  EXPECT_EQ(Shell("(setsid sleep 1002 &)", {.drain = drain}), "|0");
  const std::string detached = "(MIREBOLT_TREE=none setsid sh -c 'sleep 1002; :' &); sleep 1003";
  EXPECT_EQ(Shell(detached, {.run = milliseconds{300}, .drain = drain}), "|137 killed");
  EXPECT_EQ(Shell("pgrep -fc '[s]leep 1002'; pkill -f '[s]leep 1002'"), "3\n|0");
}

}  // namespace
}  // namespace mrb::platform
