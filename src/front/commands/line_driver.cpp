#include "front/commands/line_driver.h"

#include "common/answer.h"
#include "common/text.h"
#include "front/commands/command_text.h"
#include "front/commands/dispatcher.h"
#include "front/commands/engine.h"
#include "front/commands/plain_language.h"
#include "server/http/interpreter_bridge.h"
#include "vfs/query/query_text.h"

namespace mrb::front {

namespace {

/// `!command` or `shell command`, in the folder of whoever asks.
std::string RunShellLine(const CommandText& command) {
  const std::string_view text =
      command.line.starts_with('!') ? Trim(command.line.substr(1)) : command.arguments;
  if (text.empty()) return ErrorAnswer("usage  !<command>   |   shell <command>");
  return OkAnswer("shell output:\n" +
                  RunShell(std::string(text), server::CurrentCallSettings().working_directory));
}

/// `?( expression ) --store=<dir>`.
std::string RunQueryLine(const Engine& engine, std::string_view line) {
  const TraceSpan span(engine, "?()");
  const query::QueryText query = query::SplitQuery(line);
  if (!query.closed) return ErrorAnswer("missing ')'");
  return engine.services->files->query(CallOf(engine), query.expression, query.options);
}

void AppendLine(std::string& text, const std::string& line) {
  if (!text.empty()) text += '\n';
  text += line;
}

std::string LaunchFailure(const Error& error) {
  if (error.kind == ErrorKind::kUnavailable) return ErrorAnswer("shell pipe creation failed");
  return ErrorAnswer("shell launch failed (err " + std::to_string(error.system) + ")");
}

}  // namespace

LineOutcome RunLine(const Engine& engine, std::string_view line) {
  const CommandText command = SplitCommand(line);
  LineOutcome outcome;
  if (command.line.empty()) return outcome;
  if (command.line.starts_with("?(")) {
    outcome.answer = RunQueryLine(engine, command.line);
  } else if (command.line.starts_with('!') || command.head == "shell") {
    outcome.answer = RunShellLine(command);
  } else if (!HasRoute(command.line) && IsPlainLanguage(command.line)) {
    outcome.answer = RunPlainLanguage(engine, command.line);
  } else {
    outcome.understood = HasRoute(command.line);
    Dispatch(engine, outcome.answer, command.line);
  }
  return outcome;
}

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
