#include "front/commands/line_driver.h"

#include "common/answer.h"
#include "common/process_notes.h"
#include "common/text.h"
#include "front/commands/command_text.h"
#include "front/commands/dispatcher.h"
#include "front/commands/engine.h"
#include "front/commands/plain_language.h"
#include "platform/process.h"
#include "server/http/interpreter_bridge.h"
#include "vfs/query/query_text.h"

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

/// What a command answered, from how it went.
std::string ShellText(const Result<platform::ShellOutcome>& outcome,
                      const platform::ShellLimits& limits) {
  if (!outcome) return LaunchFailure(outcome.error());
  std::string text = outcome->output;
  text.resize(text.find_last_not_of('\n') + 1);  // npos + 1: nothing but line feeds
  if (outcome->cut) {
    AppendLine(text, "[output cut after " + std::to_string(limits.output) + " bytes]");
  }
  if (outcome->killed) {
    AppendLine(text, "[killed: no exit after 120s — command tree terminated]");
    text += StillRunningNotes(outcome->left);
  } else if (outcome->exit_code != 0) {
    AppendLine(text, "[exit " + std::to_string(outcome->exit_code) + "]");
  } else if (text.empty()) {
    text = "(no output)";
  }
  return text;
}

/// `!command` or `shell command`, in the folder of whoever asks; for a script that names none, in
/// the user's home.
std::string RunShellLine(const Engine& engine, const CommandText& command) {
  const std::string_view text =
      command.line.starts_with('!') ? Trim(command.line.substr(1)) : command.arguments;
  if (text.empty()) return ErrorAnswer("usage  !<command>   |   shell <command>");
  const CallerFolder& folder = server::CurrentCallSettings().folder;
  if (folder.is_lost()) return ErrorAnswer(std::string(folder.objection()));
  const std::string where = folder.is_known() ? folder.path : platform::UserHome();
  if (where.empty()) return ErrorAnswer(std::string(folder.objection()));
  platform::ShellLimits limits;
  limits.stop = engine.services->ending;
  const auto outcome = platform::RunShellCommand(std::string(text), where, limits);
  if (outcome && outcome->stopped) {
    return ErrorAnswer("the resident is going down; the command was ended" +
                       StillRunningNotes(outcome->left));
  }
  return OkAnswer("shell output:\n" + ShellText(outcome, limits));
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
    outcome.answer = RunShellLine(engine, command);
  } else if (!HasRoute(command.line) && IsPlainLanguage(command.line)) {
    outcome.answer = RunPlainLanguage(engine, line);
  } else {
    outcome.understood = HasRoute(command.line);
    Dispatch(engine, outcome.answer, command.line);
  }
  return outcome;
}

std::string RunShell(const std::string& command, const std::string& folder,
                     const platform::ShellLimits& limits) {
  return ShellText(platform::RunShellCommand(command, folder, limits), limits);
}

}  // namespace mrb::front
