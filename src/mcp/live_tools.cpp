#include "mcp/live_tools.h"

#include <algorithm>
#include <chrono>

#include "common/answer.h"
#include "common/text.h"
#include "mcp/chat_tools.h"
#include "server/terminals/terminal_json.h"
#include "server/terminals/terminals.h"

namespace mrb::mcp {
namespace {

using server::TerminalSession;
using std::chrono::milliseconds;

constexpr std::uint64_t kUsualExec = 30'000;
constexpr std::uint64_t kLongestWait = 10'000;
constexpr std::size_t kEnvelope = 200;  // bytes of an answer beside the terminal's output

std::uint64_t NumberOf(const Arguments& arguments, std::string_view name) {
  return ParseDecimal(arguments.get(name)).value_or(0);
}

std::string NoSession() {
  return ErrorAnswer("no such session: term.list names those there are");
}

std::string OpenTerminal(const MethodCall& call, const Arguments& /*arguments*/) {
  const auto session =
      call.options.terminals->open({}, std::string(call.http.working_directory), 0, 0);
  return session ? server::OpenedJson(**session) : ErrorAnswer("spawn failed");
}

/// The end of a long output says how it went; the beginning is what can be spared.
std::string ExecInTerminal(const MethodCall& call, const Arguments& arguments) {
  const auto session = call.options.terminals->find(arguments.get("id"));
  if (session == nullptr) return NoSession();
  constexpr auto kLongest = static_cast<std::uint64_t>(TerminalSession::kLongestExec.count());
  const std::uint64_t wanted = NumberOf(arguments, "timeout");
  const milliseconds timeout(wanted >= 1 && wanted <= kLongest ? wanted : kUsualExec);
  auto result = session->exec(arguments.get("data"), arguments.get("shell"), timeout);
  if (result.how == TerminalSession::ExecResult::How::kEnded) return NoSession();
  const std::size_t most = call.options.max_answer - kEnvelope;
  if (result.output.size() > most) {
    const std::size_t cut = result.output.size() - most;
    const std::size_t line = result.output.find('\n', cut);
    const std::size_t begin = line == std::string::npos ? cut : line + 1;
    result.output = "[the first " + std::to_string(begin) + " bytes are left out]\n" +
                    result.output.substr(begin);
  }
  return server::ExecJson(result);
}

/// What does not fit is left for the next read.
std::string ReadTerminal(const MethodCall& call, const Arguments& arguments) {
  const auto session = call.options.terminals->find(arguments.get("id"));
  if (session == nullptr) return NoSession();
  const auto wait = std::min(NumberOf(arguments, "wait"), kLongestWait);
  auto output = session->read(NumberOf(arguments, "since"), milliseconds(wait));
  const std::string_view shown = CutUtf8(output.data, call.options.max_answer - kEnvelope);
  output.total -= output.data.size() - shown.size();
  output.data.resize(shown.size());
  return server::OutputJson(output);
}

std::string ListTerminals(const MethodCall& call, const Arguments& /*arguments*/) {
  return server::SessionsJson(call.options.terminals->list());
}

std::string CloseTerminal(const MethodCall& call, const Arguments& arguments) {
  return call.options.terminals->close(arguments.get("id")) ? R"({"ok":true})" : NoSession();
}

template <LiveTool kRun>
std::string WithTerminals(const MethodCall& call, const Arguments& arguments) {
  if (call.options.terminals == nullptr) return ErrorAnswer("terminal not wired");
  return kRun(call, arguments);
}

struct LiveRow {
  std::string_view name;
  LiveTool run;
};

constexpr LiveRow kRows[] = {
    {"chat.say", &SayInChat},
    {"chat.read", &ReadChat},
    {"term.open", &WithTerminals<&OpenTerminal>},
    {"term.exec", &WithTerminals<&ExecInTerminal>},
    {"term.read", &WithTerminals<&ReadTerminal>},
    {"term.list", &WithTerminals<&ListTerminals>},
    {"term.close", &WithTerminals<&CloseTerminal>},
};

}  // namespace

LiveTool FindLiveTool(std::string_view name) {
  const auto row = std::ranges::find(kRows, name, &LiveRow::name);
  return row == std::end(kRows) ? nullptr : row->run;
}

}  // namespace mrb::mcp
