#include "server/terminals/exec_command.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>

#include "common/text.h"
#include "server/terminals/terminal_command.h"

namespace mrb::server {
namespace {

bool ContainsAny(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::ranges::any_of(
      words, [text](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

/// Shells whose exit status has another name.
bool NamesItsStatus(std::string_view command_line) {
  const std::string program = ProgramBaseName(command_line);
  return program == "fish" || program == "csh" || program == "tcsh";
}

/// A comment or a here-document would swallow what follows on the same line.
bool EndsItsLine(std::string_view command) {
  return command.starts_with('#') || ContainsAny(command, {" #", "\t#", "\n#", ";#", "<<"});
}

/// "a & ; b" and "a ; ; b" are errors to a shell.
bool EndsItself(std::string_view command) {
  return command.empty() || command.ends_with(';') ||
         (command.ends_with('&') && !command.ends_with("&&"));
}

/// Enter is a carriage return, also between lines.
std::string WithEnters(std::string_view command) {
  std::string text;
  for (const char c : command) {
    if (c == '\n' && text.ends_with('\r')) continue;
    text += c == '\n' ? '\r' : c;
  }
  return text;
}

/// What is printed of a text: blanks, controls and escape sequences left out.
std::string Printed(std::string_view text) {
  std::string printed;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\x1b' && i + 1 < text.size() && text[i + 1] == '[') {
      i += 2;
      while (i < text.size() && (text[i] < '@' || text[i] > '~')) ++i;
    } else if (static_cast<unsigned char>(text[i]) > ' ') {
      printed += text[i];
    }
  }
  return printed;
}

/// Readline says this behind the line it took.
std::string_view WithoutPasteMode(std::string_view text) {
  constexpr std::string_view kPasteModeOff = "\x1b[?2004l";
  if (text.starts_with(kPasteModeOff)) text.remove_prefix(kPasteModeOff.size());
  if (text.starts_with('\r') && !text.starts_with("\r\n")) text.remove_prefix(1);
  return text;
}

std::string_view WithoutEchoOf(std::string_view first_line, std::string_view text) {
  const auto end = text.find('\n');
  if (end == std::string_view::npos || Trim(first_line).empty()) return text;
  const bool echoed = Printed(text.substr(0, end)).ends_with(Printed(first_line));
  return echoed ? text.substr(end + 1) : text;
}

}  // namespace

ShellKind ShellKindOf(std::string_view name, std::string_view command_line) {
  if (name == "powershell") return ShellKind::kPowerShell;
  if (name == "posix") return ShellKind::kPosix;
  if (name == "cmd") return ShellKind::kCmd;
  const std::string line = LowerAscii(command_line);
  if (ContainsAny(line, {"powershell", "pwsh"})) return ShellKind::kPowerShell;
  if (ContainsAny(line, {"bash", "sh", "zsh", "ksh"})) return ShellKind::kPosix;
  return ShellKind::kCmd;
}

std::string NewMarker() {
  static std::atomic<std::uint64_t> counter{0};
  const auto ticks = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now().time_since_epoch());
  return "___MARK_" + std::to_string(ticks.count()) + "_" + std::to_string(++counter) + "___";
}

ExecLine MakeExecLine(ShellKind kind, std::string_view command_line, std::string_view command,
                      std::string_view marker) {
  command = TrimLineEnd(command);
  ExecLine line;
  line.first_line = command.substr(0, std::min(command.find_first_of("\r\n"), command.size()));
  line.text = WithEnters(command);
  const std::string quoted = "echo '" + std::string(marker) + "'";
  switch (kind) {
    case ShellKind::kPowerShell:
      // Without a program run before there is no status, and no digit would follow the marker.
      line.text += "; echo \"" + std::string(marker) + "$([int]$LASTEXITCODE)\"";
      break;
    case ShellKind::kPosix:
      line.text += EndsItsLine(command) ? "\r" : EndsItself(command) ? " " : "; ";
      line.text += quoted + (NamesItsStatus(command_line) ? "$status" : "$?");
      break;
    case ShellKind::kCmd:
      line.text += "\r@echo " + std::string(marker) + "%ERRORLEVEL%";
      break;
  }
  line.several = line.text.find('\r') != std::string::npos;
  return line;
}

std::string CutExecOutput(const TerminalOutput& output, std::uint64_t begin, std::uint64_t end,
                          const MarkerScanner& scanner, const ExecLine& line) {
  if (const auto& found = scanner.end()) end = found->begin;
  const auto& last_echo = scanner.echo();
  if (!last_echo) return std::string(WithoutEchoOf(line.first_line, output.between(begin, end)));
  const MarkerScanner::Echo& echo = *last_echo;
  const std::string_view behind = WithoutPasteMode(output.between(echo.end, end));
  if (!line.several) return std::string(behind);
  // Each line is echoed when its turn comes: what the first ones printed lies before the last echo.
  std::string text(WithoutPasteMode(
      WithoutEchoOf(line.first_line, output.between(begin, std::max(begin, echo.begin)))));
  if (!Printed(behind).empty()) text += behind;
  return text;
}

}  // namespace mrb::server
