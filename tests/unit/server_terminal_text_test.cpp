#include <gtest/gtest.h>

#include <random>

#include "server/terminals/exec_command.h"
#include "server/terminals/marker_scanner.h"
#include "server/terminals/saved_hosts.h"
#include "server/terminals/terminal_command.h"
#include "server/terminals/terminal_output.h"

namespace mrb::server {
namespace {

TEST(TerminalOutputTest, KeepsTheTailOfEverythingLikeAModel) {
  std::mt19937 random(1);  // NOLINT: the same cases each time
  TerminalOutput output;
  std::string all;
  std::size_t kept_from = 0;
  for (int i = 0; i < 400; ++i) {
    const std::string piece(random() % 4097, static_cast<char>('a' + i % 26));
    output.append(piece);
    all += piece;
    if (all.size() - kept_from > 262144) kept_from = all.size() - 200000;
    ASSERT_EQ(output.total(), all.size());
    const std::size_t since = random() % (all.size() + 2);
    const std::size_t end = random() % (all.size() + 2);
    const std::size_t from = std::min(std::max(since, kept_from), all.size());
    const std::size_t to = std::max(from, std::min(end, all.size()));
    ASSERT_EQ(output.between(since, end), std::string_view(all).substr(from, to - from));
  }
  EXPECT_GT(kept_from, 0U);
}

TEST(TerminalOutputTest, KnowsAnUnfinishedCharacter) {
  const std::pair<const char*, std::size_t> cases[] = {
      {"", 0},
      {"abc", 0},
      {"a\xC3", 1},
      {"a\xC3\xA4", 0},
      {"\xE2\x82", 2},
      {"\xF0\x9F\x98", 3},
      {"\xF0\x9F\x98\x80", 0},
      {"\x80\x80\x80\x80", 0},
      {"\xFF", 0},
      {"\xC0", 0},
      {"\xE2\x82\xAC\x82", 0},
  };
  for (const auto& [text, bytes] : cases) EXPECT_EQ(UnfinishedUtf8(text), bytes) << text;
}

constexpr std::string_view kMarker = "___MARK_12_3___";

/// What the scanner says of a text in which # stands for the marker: the output and the status, in
/// pieces of the given size.
std::string Scan(std::string_view pattern, std::size_t piece, const ExecLine& line = {}) {
  std::string text;
  for (const char c : pattern) text += c == '#' ? kMarker : std::string_view(&c, 1);
  TerminalOutput output;
  MarkerScanner scanner{std::string(kMarker), 0};
  for (std::size_t at = 0; at < text.size(); at += piece) {
    const std::string_view bytes = std::string_view(text).substr(at, piece);
    output.append(bytes);
    scanner.feed(bytes);
  }
  const std::string cut = CutExecOutput(output, 0, output.total(), scanner, line);
  const auto end = scanner.end();
  return cut + "|" + (end ? std::to_string(end->status) : "none");
}

TEST(MarkerScannerTest, FindsTheStatusWhateverTheTerminalMakesOfIt) {
  const std::string marker(kMarker);
  const std::string halves = marker.substr(0, 9) + "\r\n\x1b[K" + marker.substr(9);
  const std::string wrapped_echo = marker.substr(0, 5) + " \r" + marker.substr(5);
  const std::pair<std::string, const char*> cases[] = {
      {"$ ls; echo '#'$?\r\n\x1b[?2004l\ra\r\nb\r\n#0\r\n$ ", "a\r\nb\r\n|0"},
      {"ls; echo '#'$?\r\n$ ls; echo '#'$?\r\n#127\n", "|127"},  // typed before the prompt came
      {"echo '#'$?\r\nno line end#3\r\n", "no line end|3"},
      {"echo '#'$?\r\na\x1b[1;31m#\x1b[0m\x1b]0;title\a-1\x1b[m\r\n", "a\x1b[1;31m|-1"},
      {"echo '#'$?\r\nx___MARK_12____" + marker + "1\r\n", "x___MARK_12____|1"},
      {"echo '" + wrapped_echo + "'$?\r\nout\r\n" + halves + "5\r\n", "out\r\n|5"},
      {"echo '#'$?\r\n\x1b]never ended\r\n#4\r\n", "\x1b]never ended\r\n|4"},
      {"echo '#'$?\r\n#", "___MARK_12_3___|none"},
      {"echo '#'$?\r\n#12", "___MARK_12_3___12|none"},  // more digits may come
      {"echo '#'$?\r\n#-\r\n#7\r\n", "|7"},
      {"no echo #9\r\n", "no echo |9"},
      {"", "|none"},
  };
  for (const auto& [pattern, expected] : cases) {
    for (const std::size_t piece : {1U, 2U, 7U, 4096U}) {
      EXPECT_EQ(Scan(pattern, piece), expected) << pattern << " by " << piece;
    }
  }
}

TEST(ExecCommandTest, CutsPromptAndEchoOfACommandOfSeveralLines) {
  const ExecLine dir = MakeExecLine(ShellKind::kCmd, "cmd.exe", "dir", kMarker);
  EXPECT_EQ(dir.text, "dir\r@echo ___MARK_12_3___%ERRORLEVEL%");
  EXPECT_EQ(Scan("C:\\>dir\r\na\r\n\r\n\x1b[25lC:\\>@echo #%ERRORLEVEL%\r\n\x1b[25h#0\r\n", 9, dir),
            "a\r\n\r\n|0");
  const ExecLine two = MakeExecLine(ShellKind::kPosix, "bash -i", "echo a\necho b\n", kMarker);
  EXPECT_EQ(Scan("$ echo a\r\na\r\n$ echo b; echo '#'$?\r\nb\r\n#0\r\n", 9, two), "a\r\nb\r\n|0");
}

TEST(ExecCommandTest, AsksEachShellForItsStatus) {
  const auto line = [](ShellKind kind, const char* shell, const char* command) {
    return MakeExecLine(kind, shell, command, "M").text;
  };
  EXPECT_EQ(line(ShellKind::kPosix, "bash", "a\r\n"), "a; echo 'M'$?");
  EXPECT_EQ(line(ShellKind::kPosix, "bash", "a &"), "a & echo 'M'$?");
  EXPECT_EQ(line(ShellKind::kPosix, "bash", "a &&"), "a &&; echo 'M'$?");
  EXPECT_EQ(line(ShellKind::kPosix, "bash", "a # b"), "a # b\recho 'M'$?");
  EXPECT_EQ(line(ShellKind::kPosix, "bash", "a\r\nb"), "a\rb; echo 'M'$?");
  EXPECT_EQ(line(ShellKind::kPosix, "/usr/bin/fish -i", "a"), "a; echo 'M'$status");
  EXPECT_EQ(line(ShellKind::kPowerShell, "pwsh", "a"), "a; echo \"M$([int]$LASTEXITCODE)\"");
  const std::pair<const char*, ShellKind> kinds[] = {
      {"C:\\PowerShell\\x.exe", ShellKind::kPowerShell},
      {"pwsh", ShellKind::kPowerShell},
      {"/bin/bash -i", ShellKind::kPosix},
      {"dash", ShellKind::kPosix},
      {"cmd.exe", ShellKind::kCmd},
      {"python3", ShellKind::kCmd},
  };
  for (const auto& [shell, kind] : kinds) EXPECT_EQ(ShellKindOf("", shell), kind) << shell;
  EXPECT_EQ(ShellKindOf("cmd", "bash"), ShellKind::kCmd);
  EXPECT_NE(NewMarker(), NewMarker());
}

TEST(TerminalCommandTest, MakesALoneShellInteractive) {
  const std::pair<const char*, const char*> cases[] = {
      {"bash", "bash -i"},
      {" /bin/SH ", "/bin/SH -i"},
      {"\"C:\\Git bin\\zsh\"", "\"C:\\Git bin\\zsh\" -i"},
      {"bash -l", "bash -l"},
      {"\"bash\" x", "\"bash\" x"},
      {"bash.exe", "bash.exe"},
      {"python3", "python3"},
      {"", ""},
      {"\"", "\""},
  };
  for (const auto& [line, started] : cases) EXPECT_EQ(WithInteractiveFlag(line), started) << line;
}

TEST(TerminalCommandTest, KeepsSizesAndNamesToTheRule) {
  EXPECT_EQ(ClampSize(0, 0), (platform::ConsoleSize{120, 30}));
  EXPECT_EQ(ClampSize(5, 5000), (platform::ConsoleSize{8, 1000}));
  EXPECT_EQ(ClampSize(~0ULL, 1), (platform::ConsoleSize{1000, 4}));
  for (const char* name : {"a", "a-b_9", "01234567890123456789012345678901"}) {
    EXPECT_TRUE(IsTerminalName(name)) << name;
  }
  for (const char* name :
       {"", "A", "a b", "\xC3\xA4", "a.b", "012345678901234567890123456789012"}) {
    EXPECT_FALSE(IsTerminalName(name)) << name;
  }
}

TEST(HostBookTest, ReadsWhatItWroteAndPassesOverTheRest) {
  const std::vector<TerminalHost> hosts{{"web", "ssh -t web \"tmux a\" = x"}, {"db-1", "psql"}};
  EXPECT_EQ(ParseHosts(FormatHosts(hosts)), hosts);
  EXPECT_EQ(ParseHosts("#a = b\n WEB=ssh -t web \"tmux a\" = x\r\nno name\nb c = d\nweb = again\n"
                       "e =\n\ndb-1 = psql"),
            hosts);
}

}  // namespace
}  // namespace mrb::server
