#include "server/routes/chat_routes.h"

#include <algorithm>

#include "chat/hub.h"
#include "common/json_text.h"
#include "common/text.h"

namespace mrb::server {

namespace {

constexpr std::uint64_t kDefaultWait = 25'000;  // ms; below what proxies and clients give up after
constexpr std::uint64_t kMaxWait = 60'000;
constexpr std::uint64_t kHistory = 50;
constexpr std::uint64_t kDefaultLog = 200;
constexpr std::uint64_t kMaxLog = 5000;

Response Answer(std::string body) {
  Response response;
  response.body = std::move(body);
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
  if (said->answer.empty()) return Answer(R"({"ok":true,"seq":)" + std::to_string(said->seq) + "}");
  return Answer(R"({"ok":true,"answer":)" + JsonString(said->answer) + "}");
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
  return Answer(R"({"ok":true,"channel":)" + JsonString(channel) + ",\"next\":" +
                std::to_string(piece->next) + ",\"missed\":" + std::to_string(piece->missed) +
                ",\"messages\":" + RecordsJson(piece->records) + "}");
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
  return Answer(R"({"ok":true,"roster":)" +
                RosterJson(services.options.hub->roster(request.param("channel"))) + "}");
}

Response AnswerChannels(const Request& /*request*/, const Services& services) {
  std::string body = R"({"ok":true,"channels":[)";
  for (const chat::Hub::ChannelInfo& channel : services.options.hub->channels()) {
    if (!body.ends_with('[')) body += ',';
    body += R"({"channel":)" + JsonString(channel.name) +
            ",\"members\":" + std::to_string(channel.members) + "}";
  }
  return Answer(body + "]}");
}

Response AnswerChatLog(const Request& request, const Services& services) {
  const std::string channel = ParamOr(request, "channel", chat::kDefaultChannel);
  const auto records = services.options.hub->log(
      channel, std::min(NumberOr(request, "lines", kDefaultLog), kMaxLog));
  if (!records) return Failure(records.error());
  return Answer(R"({"ok":true,"channel":)" + JsonString(channel) +
                ",\"messages\":" + RecordsJson(*records) + "}");
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
  std::string json = "[";
  for (const chat::Record& record : records) {
    if (json.size() > 1) json += ',';
    json += chat::RecordJson(record);
  }
  return json + "]";
}

std::string RosterJson(const std::vector<chat::Presence>& roster) {
  std::string json = "[";
  for (const chat::Presence& one : roster) {
    if (json.size() > 1) json += ',';
    json += R"({"callsign":)" + JsonString(one.callsign) + R"(,"channel":)" +
            JsonString(one.channel) + (one.live ? R"(,"live":true})" : R"(,"live":false})");
  }
  return json + "]";
}

}  // namespace mrb::server
