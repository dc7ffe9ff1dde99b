#include "server/routes/control_routes.h"

#include "common/answer.h"
#include "common/json_writer.h"
#include "common/text.h"
#include "common/version.h"
#include "platform/paths.h"
#include "server/http/caller_headers.h"
#include "server/http/interpreter_bridge.h"
#include "server/http/loopback_request.h"
#include "server/http/running_calls.h"
#include "server/routes/console_tail.h"
#include "server/routes/page_path.h"

namespace mrb::server {
namespace {

constexpr std::size_t kMaxCommand = 1048576;
constexpr std::size_t kEnvelope = 256;  // bytes of an answer beside the command's text, about

Response PlainAnswer(std::string_view status, std::string_view type, std::string body) {
  Response response;
  response.status = status;
  response.type = type;
  response.body = std::move(body);
  return response;
}

Response JsonAnswer(std::string body) {
  return PlainAnswer(kOk, kJson, std::move(body));
}

/// {"ok":true,"app":...,"version":..., left open for more.
JsonWriter SelfDescription() {
  JsonWriter json;
  json.begin_object().field("ok", true).field("app", kAppName).field("version", kVersion);
  return json;
}

std::string WithDefault(std::string text, std::string_view otherwise) {
  if (text.empty()) text = otherwise;
  return text;
}

std::string_view StripPrompt(std::string_view text) {
  if (text.starts_with('>')) text.remove_prefix(1);
  return text;
}

/// A prompt's ">" and the line ends that a shell adds are not part of the command.
std::string_view StripCommand(std::string_view text) {
  return StripPrompt(TrimLineEnd(text));
}

/// Whether two paths lead to one folder.
bool IsSameFolder(const std::string& a, const std::string& b) {
  if (a == b) return true;
  const auto one = platform::CanonicalPath(a);
  const auto other = platform::CanonicalPath(b);
  return one && other && *one == *other;
}

/// Why a command may not run here: its caller expects another data home. Empty when it may.
std::string HomeObjection(const Request& request, const Services& services) {
  const std::string wanted = ReadExpectedHome(request);
  const ServerOptions& options = services.options;
  if (wanted.empty() || IsSameFolder(wanted, options.data_home)) return {};
  return "the resident of port " + std::to_string(options.port) + " serves another data home (" +
         options.data_home + "); name another --port";
}

/// Notes that a command begins. False when the resident is ending: nothing may be done then.
bool BeginCall(const Request& request, const Services& services, Response& response) {
  if (services.options.calls == nullptr) return true;
  response.until_sent = services.options.calls->begin(request.header("x-mrb-call"));
  return response.until_sent != nullptr;
}

Response GoingDown() {
  return JsonFailure(kUnavailable, kGoingDown);
}

/// Whether every media range of an Accept header is an event stream.
bool AcceptsOnlyEvents(std::string_view accept) {
  if (accept.empty()) return false;
  for (const std::string_view range : Split(accept, ',')) {
    if (!EqualsIgnoreCase(Trim(range.substr(0, range.find(';'))), "text/event-stream")) {
      return false;
    }
  }
  return true;
}

}  // namespace

Response AnswerHealth(const Request& /*request*/, const Services& /*services*/) {
  return JsonAnswer(SelfDescription().end_object().take());
}

Response AnswerShutdown(const Request& request, const Services& /*services*/) {
  if (request.header("x-mrb-control") != "shutdown") {
    return JsonFailure(kForbidden, "missing X-Mrb-Control: shutdown");
  }
  Response response =
      JsonAnswer(SelfDescription().field("shutting_down", true).end_object().take());
  response.close_resident = true;
  return response;
}

Response AnswerConsoleExec(const Request& request, const Services& services) {
  const std::string bot = request.param("bot");
  const std::string from_query = request.body.empty() ? request.param("cmd") : std::string();
  const std::string_view given = request.body.empty() ? from_query : request.body;
  // A client of our own sends the line as its user gave it; line ends at its end are a text's own.
  const bool exact = !request.header("x-mrb-call").empty() && !TrimLineEnd(given).empty();
  const std::string_view command = exact ? StripPrompt(given) : StripCommand(given);
  if (bot.empty() || command.empty()) return JsonFailure(kBadRequest, "bot and command required");
  if (command.size() > kMaxCommand) {
    return JsonFailure(kPayloadTooLarge, "command too large (limit 1 MiB)");
  }
  if (services.options.bridge == nullptr) {
    return JsonFailure(kUnavailable, "interpreter bridge not wired");
  }
  Response response;
  if (!BeginCall(request, services, response)) return GoingDown();
  std::string answer;
  if (const std::string objection = HomeObjection(request, services); !objection.empty()) {
    answer = ErrorAnswer(objection);
  } else {
    const ScopedCallSettings settings(
        {ReadCallerFolder(request), request.header("x-mrb-tty") == "1"});
    services.options.bridge->execute(bot, command, answer);
  }
  JsonWriter json(answer.size() + kEnvelope);
  json.begin_object().field("ok", true).field("bot", bot).field("out", answer).end_object();
  response.body = json.take();
  return response;
}

Response AnswerConsoleTail(const Request& request, const Services& services) {
  const std::string bot = request.param("bot");
  if (bot.empty()) return JsonFailure(kBadRequest, "bot required");
  FileTail tail;
  if (IsPlainName(bot)) {  // another name has no folder among the bots, so it has no inbox either
    const std::string bots = platform::JoinPath(services.options.install_home, "bots");
    tail =
        ReadFileTail(services.files, platform::JoinPath(platform::JoinPath(bots, bot), "inbox.log"),
                     ParseDecimal(request.param("off")).value_or(0));
  }
  JsonWriter json;
  json.begin_object().field("ok", true).field("off", tail.size).field("data", tail.text);
  return JsonAnswer(json.end_object().take());
}

Response AnswerInterp(const Request& request, const Services& services) {
  const std::string command = WithDefault(request.param("cmd"), request.body);
  if (command.empty()) {
    return PlainAnswer(kBadRequest, kPlain, "cmd required (query ?cmd= or POST body)");
  }
  if (services.options.bridge == nullptr) {
    return PlainAnswer(kUnavailable, kPlain, "interpreter bridge not wired");
  }
  Response response;
  if (!BeginCall(request, services, response)) return GoingDown();
  services.options.bridge->execute(WithDefault(request.param("bot"), "mcp"), command,
                                   response.body);
  response.type = kPlainUtf8;
  return response;
}

Response AnswerJsonRpc(const Request& request, const Services& services) {
  if (!services.options.json_rpc) {
    return JsonFailure(kUnavailable, "MCP is not available in this build");
  }
  Response response;
  if (!BeginCall(request, services, response)) return GoingDown();
  if (const std::string objection = HomeObjection(request, services); !objection.empty()) {
    return JsonFailure(kConflict, objection);
  }
  JsonRpcAnswer answer = services.options.json_rpc(
      {request.body, request.trusted, ReadCallerFolder(request), request.header("mcp-session-id"),
       request.header("mcp-protocol-version")});
  response.status = answer.status;
  response.type = answer.type;
  response.body = std::move(answer.body);
  if (!answer.session.empty()) response.headers = "\r\nMcp-Session-Id: " + answer.session;
  return response;
}

Response AnswerMcpOther(const Request& /*request*/, const Services& /*services*/) {
  Response refusal = JsonFailure(kMethodNotAllowed, "no event stream here: POST to this address");
  refusal.headers = "\r\nAllow: GET, POST";
  return refusal;
}

Response AnswerMcpBanner(const Request& request, const Services& services) {
  if (AcceptsOnlyEvents(request.header("accept"))) return AnswerMcpOther(request, services);
  return PlainAnswer(kOk, kPlainUtf8,
                     "Mirebolt MCP server — POST JSON-RPC 2.0 to /mcp. Call tools/list to begin.");
}

Response AnswerAgentBanner(const Request& /*request*/, const Services& /*services*/) {
  return PlainAnswer(kOk, kPlainUtf8,
                     "Mirebolt A2A agent — GET /.well-known/agent.json for the card; POST JSON-RPC "
                     "2.0 to /a2a.");
}

Response AnswerNodeDisabled(const Request& /*request*/, const Services& /*services*/) {
  return JsonFailure(kUnavailable, "mirenode is disabled in this build");
}

Response AnswerWorkstation(const Request& request, const Services& services) {
  return services.options.workstation(request);
}

}  // namespace mrb::server
