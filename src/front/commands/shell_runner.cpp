#include "front/commands/shell_runner.h"

#include "common/answer.h"

namespace mrb::front {
namespace {

void AppendLine(std::string& text, const std::string& line) {
  if (!text.empty()) text += '\n';
  text += line;
}

std::string LaunchFailure(const Error& error) {
  if (error.kind == ErrorKind::kUnavailable) return ErrorAnswer("shell pipe creation failed");
  return ErrorAnswer("shell launch failed (err " + std::to_string(error.system) + ")");
}

}  // namespace

std::string RunShell(const std::string& command, const std::string& folder,
                     const platform::ShellLimits& limits) {
  auto outcome = platform::RunShellCommand(command, folder, limits);
  if (!outcome) return LaunchFailure(outcome.error());
  std::string text = std::move(outcome->output);
  text.resize(text.find_last_not_of('\n') + 1);  // npos + 1: nothing but line feeds
  if (outcome->cut) {
    AppendLine(text, "[output cut after " + std::to_string(limits.output) + " bytes]");
  }
  if (outcome->killed) {
    AppendLine(text, "[killed: no exit after 120s — command tree terminated]");
  } else if (outcome->exit_code != 0) {
    AppendLine(text, "[exit " + std::to_string(outcome->exit_code) + "]");
  } else if (text.empty()) {
    text = "(no output)";
  }
  return text;
}

}  // namespace mrb::front
