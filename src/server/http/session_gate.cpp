#include "server/http/session_gate.h"

#include "common/text.h"
#include "server/http/sign_in_page.h"

namespace mrb::server {
namespace {

constexpr std::string_view kSessionCookie = "mrb_gui_sess";
constexpr std::string_view kFullScope = "wcx";
constexpr int kSessionSeconds = 3600;

std::optional<SessionGate::Session> SessionOf(const Request& request, SessionGate& gate) {
  const std::string_view id = CookieValue(request.header("cookie"), kSessionCookie);
  return id.empty() ? std::nullopt : gate.find(id);
}

}  // namespace

std::string_view CookieValue(std::string_view cookies, std::string_view name) {
  for (const std::string_view piece : Split(cookies, ';')) {
    const std::string_view cookie = Trim(piece);
    const auto equals = cookie.find('=');
    if (equals != std::string_view::npos && cookie.substr(0, equals) == name) {
      return cookie.substr(equals + 1);
    }
  }
  return {};
}

bool IsSignIn(const RequestLine& line) {
  return line.method == "POST" && line.path == "/__mrb_remote_auth";
}

Response AnswerSignIn(std::string_view body, SessionGate& gate) {
  std::string session_id;
  switch (gate.sign_in(body, session_id)) {
    case SessionGate::SignIn::kMinted:
      break;
    case SessionGate::SignIn::kNotMinted:
      return JsonFailure(kServerError, "could not mint session");
    case SessionGate::SignIn::kInvalidToken:
      return JsonFailure(kUnauthorized, "invalid or expired token");
  }
  Response response;
  response.body = "{\"ok\":true}";
  response.headers = "\r\nSet-Cookie: ";
  response.headers += kSessionCookie;
  response.headers += "=" + session_id + "; HttpOnly; Secure; SameSite=Strict; Path=/; Max-Age=" +
                      std::to_string(kSessionSeconds);
  return response;
}

GateDecision PassGate(const Request& request, SessionGate& gate) {
  using Passage = GateDecision::Passage;
  if (const auto session = SessionOf(request, gate)) {
    const bool full = session->scope.empty() || session->scope.contains(kFullScope);
    return {Passage::kEnter, full, {}};
  }
  if (IsWebSocketUpgrade(request.head)) return {Passage::kDrop, false, {}};
  if (request.line.method == "GET") return {Passage::kRefuse, false, SignInPage()};
  return {Passage::kRefuse, false, JsonFailure(kUnauthorized, "sign in required")};
}

}  // namespace mrb::server
