#include "server/routes/chat_routes.h"

#include <algorithm>

#include "chat/hub.h"
#include "common/json_writer.h"
#include "common/text.h"

namespace mrb::server {

namespace {

constexpr std::uint64_t kDefaultWait = 25'000;  // ms; below what proxies and clients give up after
constexpr std::uint64_t kMaxWait = 60'000;
constexpr std::uint64_t kHistory = 50;
constexpr std::uint64_t kDefaultLog = 200;
constexpr std::uint64_t kMaxLog = 5000;

JsonWriter BeginAnswer() {
  JsonWriter json;
  json.begin_object().field("ok", true);
  return json;
}

Response EndAnswer(JsonWriter& json) {
  Response response;
  response.body = json.end_object().take();
  return response;
}

Response Failure(const Error& error) {
  const bool callers = error.kind == ErrorKind::kInvalidArgument;
  return JsonFailure(callers ? kBadRequest : kServerError, error.text);
}

std::string ParamOr(const Request& request, std::string_view key, std::string_view otherwise) {
  std::string text = request.param(key);
  return text.empty() ? std::string(otherwise) : text;
}

std::uint64_t NumberOr(const Request& request, std::string_view key, std::uint64_t otherwise) {
  return ParseDecimal(request.param(key)).value_or(otherwise);
}

Response Say(const Request& request, chat::Hub& hub, std::string_view from,
             std::string_view channel) {
  const std::string text = ParamOr(request, "text", request.body);
  // A guest may talk where everybody hears it, and nothing else.
  const bool to_all = !channel.starts_with('@') && !text.starts_with("::");
  if (!to_all && !request.trusted) return JsonFailure(kForbidden, "loopback only");
  const auto said = hub.say(from, channel, text);
  if (!said) return Failure(said.error());
  JsonWriter json = BeginAnswer();
  if (said->answer.empty()) {
    json.field("seq", said->seq);
  } else {
    json.field("answer", said->answer);
  }
  return EndAnswer(json);
}

/// The history at once, or with "since" what came after it, waited for.
Response Read(const Request& request, chat::Hub& hub, std::string_view me,
              std::string_view channel) {
  chat::ReadRequest wanted{.me = me, .channel = channel};
  const auto since = ParseDecimal(request.param("since"));
  wanted.since = since.value_or(0);
  wanted.wait =
      std::chrono::milliseconds(std::min(NumberOr(request, "wait", kDefaultWait), kMaxWait));
  const auto piece =
      since ? hub.read(wanted) : hub.recent(wanted, NumberOr(request, "last", kHistory));
  if (!piece) return Failure(piece.error());
  JsonWriter json = BeginAnswer();
  json.field("channel", channel).field("next", piece->next).field("missed", piece->missed);
  json.raw_field("messages", RecordsJson(piece->records));
  return EndAnswer(json);
}

}  // namespace

Response AnswerChatSay(const Request& request, const Services& services) {
  return Say(request, *services.options.hub, ParamOr(request, "from", "user"),
             ParamOr(request, "channel", chat::kDefaultChannel));
}

Response AnswerChatNext(const Request& request, const Services& services) {
  const std::string channel = ParamOr(request, "channel", chat::kDefaultChannel);
  if (channel.starts_with('@') && !request.trusted) return JsonFailure(kForbidden, "loopback only");
  return Read(request, *services.options.hub, request.param("as"), channel);
}

Response AnswerRoster(const Request& request, const Services& services) {
  JsonWriter json = BeginAnswer();
  json.raw_field("roster", RosterJson(services.options.hub->roster(request.param("channel"))));
  return EndAnswer(json);
}

Response AnswerChannels(const Request& /*request*/, const Services& services) {
  JsonWriter json = BeginAnswer();
  json.key("channels").begin_array();
  for (const chat::Hub::ChannelInfo& channel : services.options.hub->channels()) {
    json.begin_object().field("channel", channel.name).field("members", channel.members);
    json.end_object();
  }
  return EndAnswer(json.end_array());
}

Response AnswerChatLog(const Request& request, const Services& services) {
  const std::string channel = ParamOr(request, "channel", chat::kDefaultChannel);
  const auto records = services.options.hub->log(
      channel, std::min(NumberOr(request, "lines", kDefaultLog), kMaxLog));
  if (!records) return Failure(records.error());
  JsonWriter json = BeginAnswer();
  json.field("channel", channel).raw_field("messages", RecordsJson(*records));
  return EndAnswer(json);
}

Response AnswerDmSay(const Request& request, const Services& services) {
  return Say(request, *services.options.hub, ParamOr(request, "me", "user"),
             "@" + request.param("with"));
}

Response AnswerDmThread(const Request& request, const Services& services) {
  return Read(request, *services.options.hub, ParamOr(request, "me", "user"),
              "@" + request.param("with"));
}

std::string RecordsJson(const std::vector<chat::Record>& records) {
  JsonWriter json;
  json.begin_array();
  for (const chat::Record& record : records) json.raw(chat::RecordJson(record));
  return json.end_array().take();
}

std::string RosterJson(const std::vector<chat::Presence>& roster) {
  JsonWriter json;
  json.begin_array();
  for (const chat::Presence& one : roster) {
    json.begin_object().field("callsign", one.callsign).field("channel", one.channel);
    json.field("live", one.live).end_object();
  }
  return json.end_array().take();
}

}  // namespace mrb::server
