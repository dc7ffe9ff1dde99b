#include "mcp/chat_tools.h"

#include <optional>
#include <utility>

#include "chat/hub.h"
#include "common/answer.h"
#include "common/text.h"
#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

constexpr std::size_t kHistory = 30;        // messages that the first read answers
constexpr std::size_t kMostChannels = 200;  // whose place is remembered
constexpr std::size_t kLine = 100;          // bytes of a message's line beside its text, about
constexpr std::size_t kLongestName = 50;    // leaves room for a number

std::string NotWired() {
  return ErrorAnswer("chat not wired");
}

/// The client's own callsign, from now on.
std::string Callsign(const MethodCall& call) {
  const std::scoped_lock lock(call.session.mutex);
  std::string& callsign = call.session.callsign;
  if (callsign.empty()) {
    const std::string_view name = Trim(CutUtf8(call.session.client, kLongestName));
    callsign = call.options.hub->claim_callsign(chat::IsCallsign(name) ? name : kBot);
  }
  return callsign;
}

std::string ChannelOf(const Arguments& arguments) {
  const std::string& channel = arguments.get("channel");
  return channel.empty() ? std::string(chat::kUsualChannel) : channel;
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

}  // namespace

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
    if (call.session.read.size() >= kMostChannels) call.session.read.clear();
    call.session.read[channel] = piece->next;
  }
  if (since && piece->records.empty()) {
    return OkAnswer("nothing new on " + channel + "; call again to go on listening");
  }
  return Listing(me, channel, *piece);
}

}  // namespace mrb::mcp
