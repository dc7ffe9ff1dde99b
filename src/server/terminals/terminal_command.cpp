#include "server/terminals/terminal_command.h"

#include <algorithm>
#include <array>

#include "common/text.h"

namespace mrb::server {
namespace {

struct Split {
  std::string_view program;
  std::string_view arguments;
};

Split SplitProgram(std::string_view line) {
  line = Trim(line);
  if (line.starts_with('"')) {
    const auto end = std::min(line.find('"', 1), line.size());
    return {line.substr(1, end - 1), Trim(line.substr(std::min(end + 1, line.size())))};
  }
  const auto end = std::min(line.find_first_of(" \t"), line.size());
  return {line.substr(0, end), Trim(line.substr(end))};
}

std::uint16_t Clamp(std::uint64_t value, std::uint64_t otherwise, std::uint64_t least) {
  constexpr std::uint64_t kMax = 1000;
  return static_cast<std::uint16_t>(std::clamp(value == 0 ? otherwise : value, least, kMax));
}

}  // namespace

std::string ProgramBaseName(std::string_view command_line) {
  const std::string_view program = SplitProgram(command_line).program;
  return LowerAscii(program.substr(program.find_last_of("\\/") + 1));
}

std::string WithInteractiveFlag(std::string_view command_line) {
  static constexpr std::array<std::string_view, 8> kShells{"bash", "sh",   "zsh", "ksh",
                                                           "dash", "fish", "csh", "tcsh"};
  std::string line(Trim(command_line));
  if (SplitProgram(line).arguments.empty() &&
      std::ranges::find(kShells, ProgramBaseName(line)) != kShells.end()) {
    line += " -i";
  }
  return line;
}

platform::ConsoleSize ClampSize(std::uint64_t columns, std::uint64_t rows) {
  return {Clamp(columns, 120, 8), Clamp(rows, 30, 4)};
}

bool IsTerminalName(std::string_view name) {
  return !name.empty() && name.size() <= 32 && std::ranges::all_of(name, [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  });
}

}  // namespace mrb::server
