// The tools that are no commands: they work on the chat and on the terminals. An agent's callsign
// is what its client calls itself, with a number behind it when that is taken.

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "chat/hub.h"
#include "common/answer.h"
#include "common/text.h"
#include "mcp/tool_table.h"
#include "server/terminals/terminal_json.h"
#include "server/terminals/terminals.h"

namespace mrb::mcp {
namespace {

constexpr std::size_t kHistory = 30;       // messages that the first read answers
constexpr std::size_t kMaxChannels = 200;  // whose place is remembered
constexpr std::size_t kLine = 100;         // bytes of a message's line beside its text, about
constexpr std::size_t kMaxName = 50;       // leaves room for a number

std::string NotWired() {
  return ErrorAnswer("chat not wired");
}

/// The client's own callsign, from now on.
std::string Callsign(const MethodCall& call) {
  const std::scoped_lock lock(call.session.mutex);
  std::string& callsign = call.session.callsign;
  if (callsign.empty()) {
    const std::string_view name = Trim(CutUtf8(call.session.client, kMaxName));
    callsign = call.options.hub->claim_callsign(chat::IsCallsign(name) ? name : kBot);
  }
  return callsign;
}

std::string ChannelOf(const Arguments& arguments) {
  const std::string& channel = arguments.get("channel");
  return channel.empty() ? std::string(chat::kDefaultChannel) : channel;
}

/// "14:03:59" of that day, UTC.
std::string TimeOfDay(std::uint64_t milliseconds) {
  const auto two = [](std::uint64_t n) { return (n < 10 ? "0" : "") + std::to_string(n); };
  const std::uint64_t seconds = milliseconds / 1000 % 86'400;
  return two(seconds / 3600) + ":" + two(seconds / 60 % 60) + ":" + two(seconds % 60);
}

std::string Listing(const std::string& me, const std::string& channel, const chat::Piece& piece) {
  std::string text = std::to_string(piece.records.size()) + " message(s) on " + channel +
                     " (UTC), you are '" + me + "'";
  if (piece.missed > 0) text += "; " + std::to_string(piece.missed) + " older ones are gone";
  for (const chat::Record& record : piece.records) {
    text += "\n  " + TimeOfDay(record.at) + "  " + record.from;
    if (!record.terminal.empty()) text += " " + record.terminal;
    text += ": " + record.text;
  }
  return OkAnswer(text);
}

std::optional<std::uint64_t> ReadSoFar(Session& session, const std::string& channel) {
  const std::scoped_lock lock(session.mutex);
  const auto found = session.read.find(channel);
  if (found == session.read.end()) return std::nullopt;
  return found->second;
}

std::string SayInChat(const MethodCall& call, const Arguments& arguments) {
  if (call.options.hub == nullptr) return NotWired();
  const auto said =
      call.options.hub->say(Callsign(call), ChannelOf(arguments), arguments.get("text"));
  if (!said) return ErrorAnswer(said.error().text);
  return said->answer.empty() ? "posted" : said->answer;
}

std::string ReadChat(const MethodCall& call, const Arguments& arguments) {
  if (call.options.hub == nullptr) return NotWired();
  const std::string me = Callsign(call);
  const std::string channel = ChannelOf(arguments);
  const auto since = ReadSoFar(call.session, channel);
  const chat::ReadRequest request{.me = me,
                                  .channel = channel,
                                  .since = since.value_or(0),
                                  .wait = call.options.chat_wait,
                                  .bytes = call.options.max_answer / 2 + kLine,
                                  .skip_own = true};
  const auto piece =
      since ? call.options.hub->read(request) : call.options.hub->recent(request, kHistory);
  if (!piece) return ErrorAnswer(piece.error().text);
  {
    const std::scoped_lock lock(call.session.mutex);
    if (call.session.read.size() >= kMaxChannels) call.session.read.clear();
    call.session.read[channel] = piece->next;
  }
  if (since && piece->records.empty()) {
    return OkAnswer("nothing new on " + channel + "; call again to go on listening");
  }
  return Listing(me, channel, *piece);
}

using server::TerminalSession;
using std::chrono::milliseconds;

constexpr std::uint64_t kDefaultExec = 30'000;
constexpr std::uint64_t kMaxWait = 10'000;
constexpr std::size_t kEnvelope = 200;  // bytes of an answer beside the terminal's output

std::uint64_t NumberOf(const Arguments& arguments, std::string_view name) {
  return ParseDecimal(arguments.get(name)).value_or(0);
}

std::string NoSession() {
  return ErrorAnswer("no such session: term.list names those there are");
}

std::string OpenTerminal(const MethodCall& call, const Arguments& /*arguments*/) {
  const auto session = call.options.terminals->open({}, call.http.folder.path, 0, 0);
  return session ? server::OpenedJson(**session) : ErrorAnswer("spawn failed");
}

/// The end of a long output says how it went; the beginning is what can be spared.
std::string ExecInTerminal(const MethodCall& call, const Arguments& arguments) {
  const auto session = call.options.terminals->find(arguments.get("id"));
  if (session == nullptr) return NoSession();
  constexpr auto kMaxLength = static_cast<std::uint64_t>(TerminalSession::kMaxExec.count());
  const std::uint64_t wanted = NumberOf(arguments, "timeout");
  const milliseconds timeout(wanted >= 1 && wanted <= kMaxLength ? wanted : kDefaultExec);
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
  const auto wait = std::min(NumberOf(arguments, "wait"), kMaxWait);
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

template <ToolFunction kRun>
std::string WithTerminals(const MethodCall& call, const Arguments& arguments) {
  if (call.options.terminals == nullptr) return ErrorAnswer("terminal not wired");
  return kRun(call, arguments);
}

constexpr Field kTerminalId{"id", FieldType::kWord, true, "The terminal's id, from term.open."};

constexpr Tool kTools[] = {
    {.name = "chat.say",
     .about =
         "Say something on a chat channel of this machine, where other agents and the user on the "
         "web "
         "page read it. Channel \"@name\" is a direct message to one of them. A text \"::term.send "
         "<id> "
         "<line>\" is not said: it types the line into a terminal that was shared with you. "
         "Example: "
         "{\"text\":\"the tests pass\",\"channel\":\"general\"}",
     .fields = {{"text", FieldType::kText, true, "What to say."},
                {"channel", FieldType::kWord, false, "Absent: general."}},
     .run = &SayInChat},
    {.name = "chat.read",
     .about =
         "Read what was said on a channel. The first call joins it and answers the recent history; "
         "each later one answers what came since, and waits up to 25 s for something to come. Call "
         "it "
         "again to go on listening. Channel \"@name\" is your direct messages with that name; what "
         "a "
         "terminal shared with you shows is on \"@terminal\".",
     .fields = {{"channel", FieldType::kWord, false, "Absent: general."}},
     .run = &ReadChat},
    {.name = "term.open",
     .about =
         "Open a terminal with the user's shell, in the client's folder. It stays until "
         "term.close. "
         "Answers {ok, id}. For one command alone mrb.run with ! is simpler; a terminal keeps its "
         "folder, its variables and its programs between commands.",
     .fields = {},
     .run = &WithTerminals<&OpenTerminal>},
    {.name = "term.exec",
     .about =
         "Run one command in a terminal and wait for its end: answers its output and exit code. A "
         "command that asks questions needs the user; time-outs answer what came so far. Example: "
         "{\"id\":\"t1-k3x9qz\",\"data\":\"make -s test\",\"timeout\":120000}",
     .fields = {kTerminalId,
                {"data", FieldType::kText, true, "The command."},
                {"timeout", FieldType::kWhole, false,
                 "Milliseconds, 1 to 600000; 30000 when absent."},
                {"shell", FieldType::kWord, false,
                 "What shell the terminal runs, when it is not seen from its command line.",
                 "powershell posix cmd"}},
     .run = &WithTerminals<&ExecInTerminal>},
    {.name = "term.read",
     .about = "Read what a terminal shows from byte \"since\" on. Answers {ok, len, alive, data}; "
              "pass len "
              "as the next since.",
     .fields = {kTerminalId,
                {"since", FieldType::kWhole, false,
                 "The len of the answer before; 0: from the start."},
                {"wait", FieldType::kWhole, false,
                 "Milliseconds to wait for output while there is none, up to 10000."}},
     .run = &WithTerminals<&ReadTerminal>},
    {.name = "term.list",
     .about = "List the terminals: id, name, command line, whether alive.",
     .fields = {},
     .run = &WithTerminals<&ListTerminals>},
    {.name = "term.close",
     .about = "Close a terminal and end what runs in it.",
     .fields = {kTerminalId},
     .run = &WithTerminals<&CloseTerminal>},
};

}  // namespace

std::span<const Tool> LiveTools() {
  return kTools;
}

}  // namespace mrb::mcp
