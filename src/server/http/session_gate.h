#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "server/http/http_message.h"

namespace mrb::server {

/// Who of the peers from other machines may come in: those whose browser carries a session. Issuing
/// and keeping sessions belongs to remote access; this is the door it is asked at. Thread-safe.
class SessionGate {
 public:
  struct Session {
    std::string scope;  ///< what it is restricted to; empty when it is not
  };
  enum class SignIn { kInvalidToken, kNotMinted, kMinted };

  SessionGate() = default;
  SessionGate(const SessionGate&) = delete;
  SessionGate& operator=(const SessionGate&) = delete;
  virtual ~SessionGate() = default;

  /// The live session of that id. Ids come from outside, any bytes.
  [[nodiscard]] virtual std::optional<Session> find(std::string_view id) = 0;

  /// Takes the body of a sign-in, which carries a token; on kMinted `session_id` holds the new id.
  [[nodiscard]] virtual SignIn sign_in(std::string_view body, std::string& session_id) = 0;
};

/// The gate of a build without remote access: nobody from outside comes in.
class ClosedGate final : public SessionGate {
 public:
  std::optional<Session> find(std::string_view /*id*/) override { return std::nullopt; }
  SignIn sign_in(std::string_view /*body*/, std::string& /*session_id*/) override {
    return SignIn::kInvalidToken;
  }
};

inline constexpr std::size_t kMaxSignInBody = 65536;  ///< a token is far smaller

/// The value of one cookie of a Cookie header; empty when it is not among them.
[[nodiscard]] std::string_view CookieValue(std::string_view cookies, std::string_view name);

/// POST "/__mrb_remote_auth", which any peer may send.
[[nodiscard]] bool IsSignIn(const RequestLine& line);
[[nodiscard]] Response AnswerSignIn(std::string_view body, SessionGate& gate);

/// What becomes of a request from another machine. Needs its head only, so that a stranger's body
/// is not read at all.
struct GateDecision {
  enum class Passage { kEnter, kRefuse, kDrop };
  Passage passage = Passage::kDrop;
  bool trusted = false;  ///< on kEnter: as good as a local user
  Response refusal;      ///< on kRefuse; kDrop closes without an answer
};
[[nodiscard]] GateDecision PassGate(const Request& request, SessionGate& gate);

}  // namespace mrb::server
