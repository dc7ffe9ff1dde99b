#include "front/commands/line_driver.h"

#include "common/answer.h"
#include "common/text.h"
#include "front/commands/command_text.h"
#include "front/commands/dispatcher.h"
#include "front/commands/engine.h"
#include "front/commands/plain_language.h"
#include "front/commands/shell_runner.h"
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

}  // namespace mrb::front
