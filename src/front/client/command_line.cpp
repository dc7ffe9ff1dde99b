#include "front/client/command_line.h"

namespace mrb::front {
namespace {

std::string QuoteForGrep(const std::string& word) {
  if (!word.empty() && word.find_first_of(" \t\"'") == std::string::npos) return word;
  std::string quoted = "\"";
  for (const char c : word) {
    if (c == '"') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

bool Contains(std::string_view line, std::string_view word) {
  return line.find(word) != std::string_view::npos;
}

}  // namespace

std::string JoinCommandLine(const std::vector<std::string>& arguments) {
  const bool is_grep = arguments.size() > 1 && arguments[1] == "grep";
  std::string line;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (i > 1) line += ' ';
    line += is_grep ? QuoteForGrep(arguments[i]) : arguments[i];
  }
  return line;
}

Role RoleOf(std::string_view line) {
  if (line == "mcp") return Role::kMcp;
  if (line == "boot") return Role::kBoot;
  if (line == "boot gui") return Role::kBootGui;
  for (const std::string_view word : {"gui", "up", "serve", "workstation"}) {
    if (line == word) return Role::kInteractive;
  }
  if (Contains(line, "gui:start") || Contains(line, "orchestration:start")) {
    return Role::kOrchestration;
  }
  // As the first word alone: a memo that mentions it is kept.
  const std::string_view first = line.substr(0, line.find(' '));
  return first == "vc:start" ? Role::kVersionControl : Role::kCommand;
}

}  // namespace mrb::front
