#include "platform/windows_command_line.h"

#include <string_view>

namespace mrb::platform {
namespace {

/// Backslashes are plain unless a quote follows them; then each counts half, and an odd one makes
/// the quote plain.
std::string Quoted(std::string_view argument) {
  std::string out = "\"";
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '"') out.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    out += c;
  }
  return out.append(backslashes, '\\').append("\"");
}

}  // namespace

std::string WindowsCommandLine(const std::vector<std::string>& arguments) {
  if (arguments.empty()) return {};
  std::string line = "\"" + arguments[0] + "\"";  // backslashes mean nothing in the program's name
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const bool plain = !argument.empty() && argument.find_first_of(" \t\"") == std::string::npos;
    line.append(" ").append(plain ? argument : Quoted(argument));
  }
  return line;
}

}  // namespace mrb::platform
