#include "server/routes/terminal_routes.h"

#include <algorithm>

#include "common/json_writer.h"
#include "common/text.h"
#include "server/http/caller_headers.h"
#include "server/terminals/terminal_command.h"
#include "server/terminals/terminal_json.h"
#include "server/terminals/terminals.h"

namespace mrb::server {
namespace {

using std::chrono::milliseconds;

constexpr std::string_view kJsonUtf8 = "application/json; charset=utf-8";
constexpr std::uint64_t kDefaultExec = 30'000;
constexpr std::uint64_t kMaxReadWait = 10'000;

Response Answer(std::string body, std::string_view type = kJson) {
  Response response;
  response.type = type;
  response.body = std::move(body);
  return response;
}

Response Done() {
  return Answer(R"({"ok":true})");
}

Response NoSession() {
  return JsonFailure(kNotFound, "no such session");
}

Response NoLiveSession() {
  return JsonFailure(kNotFound, "no such session or ended");
}

std::string TextOf(const Request& request, std::string_view key) {
  std::string text = request.param(key);
  return text.empty() ? std::string(request.body) : text;
}

std::uint64_t NumberOf(const Request& request, std::string_view key) {
  return ParseDecimal(request.param(key)).value_or(0);
}

Response SendAnswer(const Status& sent) {
  if (sent) return Done();
  if (sent.error().kind == ErrorKind::kTimedOut) {
    return JsonFailure(kUnavailable, "the program takes no input");
  }
  return NoLiveSession();
}

Terminals::SessionRef Find(const Request& request, const Services& services) {
  return services.options.terminals->find(request.param("id"));
}

bool IsOneLine(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

}  // namespace

Response AnswerTermOpen(const Request& request, const Services& services) {
  Terminals& terminals = *services.options.terminals;
  std::string command_line = TextOf(request, "cmd");
  const std::string host = LowerAscii(request.param("host"));
  if (Trim(command_line).empty() && !host.empty()) {
    auto saved = terminals.hosts().command_of(host);
    if (!saved) return JsonFailure(kNotFound, "no such host");
    command_line = std::move(*saved);
  }
  const auto session = terminals.open(command_line, ReadCallerFolder(request).path,
                                      NumberOf(request, "cols"), NumberOf(request, "rows"));
  if (!session) return JsonFailure(kServerError, "spawn failed");
  return Answer(OpenedJson(**session));
}

Response AnswerTermRead(const Request& request, const Services& services) {
  const auto session = Find(request, services);
  if (session == nullptr) return NoSession();
  const auto wait = std::min(NumberOf(request, "wait"), kMaxReadWait);
  return Answer(OutputJson(session->read(NumberOf(request, "since"), milliseconds(wait))),
                kJsonUtf8);
}

Response AnswerTermSend(const Request& request, const Services& services) {
  const auto session = Find(request, services);
  if (session == nullptr) return NoLiveSession();
  return SendAnswer(session->send(TextOf(request, "data"), request.param("raw") == "1"));
}

Response AnswerTermResize(const Request& request, const Services& services) {
  const auto session = Find(request, services);
  if (session == nullptr) return NoLiveSession();
  return SendAnswer(
      session->resize(ClampSize(NumberOf(request, "cols"), NumberOf(request, "rows"))));
}

Response AnswerTermExec(const Request& request, const Services& services) {
  const auto session = Find(request, services);
  if (session == nullptr) return NoSession();
  constexpr auto kMaxExec = static_cast<std::uint64_t>(TerminalSession::kMaxExec.count());
  const std::uint64_t wanted = NumberOf(request, "timeout");
  const milliseconds timeout(wanted >= 1 && wanted <= kMaxExec ? wanted : kDefaultExec);
  TerminalSession::ExecResult result =
      session->exec(TextOf(request, "data"), request.param("shell"), timeout);
  using How = TerminalSession::ExecResult::How;
  if (result.how == How::kEnded) return NoSession();
  if (result.how == How::kDone && request.param("raw") == "1") {
    return Answer(std::move(result.output), kPlainUtf8);
  }
  return Answer(ExecJson(result));
}

Response AnswerTermClose(const Request& request, const Services& services) {
  return services.options.terminals->close(request.param("id")) ? Done() : NoSession();
}

Response AnswerTermList(const Request& /*request*/, const Services& services) {
  return Answer(SessionsJson(services.options.terminals->list()));
}

Response AnswerTermName(const Request& request, const Services& services) {
  const Status set =
      services.options.terminals->set_name(request.param("id"), request.param("name"));
  if (set) return Done();
  const bool missing = set.error().kind == ErrorKind::kNotFound;
  return JsonFailure(missing ? kNotFound : kBadRequest, set.error().text);
}

Response AnswerTermShare(const Request& request, const Services& services) {
  const std::string id = request.param("id");
  const std::string bot = request.param("bot");
  const Status shared = services.options.terminals->share(id, bot);
  if (!shared) return JsonFailure(kBadRequest, shared.error().text);
  JsonWriter json;
  json.begin_object().field("ok", true).field("id", id).field("bot", bot).end_object();
  return Answer(json.take());
}

Response AnswerTermFocus(const Request& request, const Services& services) {
  services.options.terminals->focus(request.param("query"));
  return Done();
}

Response AnswerHostSave(const Request& request, const Services& services) {
  Terminals& terminals = *services.options.terminals;
  TerminalHost host{LowerAscii(request.param("name")), {}};
  if (!IsTerminalName(host.name)) return JsonFailure(kBadRequest, "invalid host name");
  if (const std::string from = request.param("from"); !from.empty()) {
    const auto session = terminals.find(from);
    if (session == nullptr) return NoSession();
    host.command = session->command_line();
  } else {
    host.command = Trim(TextOf(request, "cmd"));
  }
  if (host.command.empty()) return JsonFailure(kBadRequest, "cmdline required");
  if (!IsOneLine(host.command)) return JsonFailure(kBadRequest, "cmdline must be one line");
  if (!terminals.hosts().save(host)) {
    return JsonFailure(kServerError, "could not write host book");
  }
  return Done();
}

Response AnswerHostList(const Request& /*request*/, const Services& services) {
  JsonWriter json;
  json.begin_object().field("ok", true).key("hosts").begin_array();
  for (const TerminalHost& host : services.options.terminals->hosts().list()) {
    json.begin_object().field("name", host.name).field("cmd", host.command).end_object();
  }
  return Answer(json.end_array().end_object().take());
}

Response AnswerHostRemove(const Request& request, const Services& services) {
  const Status removed =
      services.options.terminals->hosts().remove(LowerAscii(request.param("name")));
  if (removed) return Done();
  if (removed.error().kind == ErrorKind::kNotFound) return JsonFailure(kNotFound, "host not found");
  return JsonFailure(kServerError, "could not write host book");
}

}  // namespace mrb::server
