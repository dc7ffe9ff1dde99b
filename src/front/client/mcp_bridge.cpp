#include "front/client/mcp_bridge.h"

#include <algorithm>
#include <mutex>
#include <string_view>
#include <utility>

#include "common/json_scan.h"
#include "front/client/caller.h"
#include "front/client/mcp_stdio.h"
#include "mcp/messages.h"
#include "mcp/sessions.h"
#include "platform/sockets.h"
#include "server/http/call_table.h"
#include "server/http/loopback_request.h"

namespace mrb::front {
namespace {

/// A message whose answer did not come, or is none: an error under its own id, or nothing when
/// nobody waits for one.
std::string Failure(std::string_view message, const std::string& reason) {
  const auto document = JsonDocument::scan(message);
  const JsonValue root = document ? document->root() : JsonValue();
  const JsonValue id = root.find("id");
  const bool is_notification = root.is(JsonValue::Kind::kObject) && !id.exists();
  if (is_notification) return {};
  const bool has_id = id.is(JsonValue::Kind::kNumber) || id.is(JsonValue::Kind::kString);
  return mcp::ErrorMessage(has_id ? id.raw() : "null", {mcp::kInternalError, reason});
}

/// The text of {"error":"…"} or {"error":{"message":"…"}}, which says why a request was refused;
/// empty when there is none.
std::string RefusalText(std::string_view body) {
  const auto document = JsonDocument::scan(body);
  if (!document) return {};
  const JsonValue error = document->root().find("error");
  return error.is(JsonValue::Kind::kString) ? error.text() : error.find("message").text();
}

class Relay {
 public:
  Relay(const Target& target, const ResidentStart& start)
      : target_(target),
        start_(start),
        headers_(CallerHeaders(target.named_home) + "Mcp-Session-Id: " + mcp::Sessions::new_id() +
                 "\r\n") {}

  std::string answer(std::string_view message) {
    std::string call = NewCallId();
    auto answer = ask(message, call);
    const bool going_down = answer && IsGoingDown(*answer);
    if (going_down) static_cast<void>(AwaitQuiet(target_.port));
    if (!answer && !may_repeat(message, call)) {
      return Failure(message,
                     "the resident went away while the call ran; it may have run, and is not "
                     "repeated");
    }
    if ((!answer || going_down) && bring_up()) {
      call = NewCallId();
      answer = ask(message, call);
    }
    if (!answer) return Failure(message, "the resident does not answer");
    if (answer->status == kOk || answer->status == kAccepted) {
      if (answer->body.empty()) return {};
      if (JsonDocument::scan(answer->body)) return one_line(std::move(answer->body));
    }
    const std::string refusal = RefusalText(answer->body);
    return Failure(message, refusal.empty() ? "the resident's answer is no message (status " +
                                                  std::to_string(answer->status) + ")"
                                            : "the resident refused: " + refusal);
  }

 private:
  static constexpr int kOk = 200;
  static constexpr int kAccepted = 202;
  static constexpr int kUnavailable = 503;

  /// Line ends stand between the values of a JSON text, never within; here they would end a
  /// message.
  static std::string one_line(std::string body) {
    std::ranges::replace(body, '\n', ' ');
    std::ranges::replace(body, '\r', ' ');
    return body;
  }

  static bool IsGoingDown(const server::LoopbackAnswer& answer) {
    return answer.status == kUnavailable &&
           answer.body.find(server::kGoingDown) != std::string::npos;
  }

  /// Whether a message whose answer did not come may be sent again: one that changes nothing, or
  /// that was never begun.
  [[nodiscard]] bool may_repeat(std::string_view message, const std::string& call) const {
    const auto document = JsonDocument::scan(message);
    const std::string method = document ? document->root().find("method").text() : std::string();
    if (method == "ping" || method == "initialize" || method.ends_with("/list")) return true;
    const auto begun = server::WasBegun(platform::SystemFiles(), target_.call_table, call);
    return begun && !*begun;
  }

  Result<server::LoopbackAnswer> ask(std::string_view message, const std::string& call) {
    auto connection = server::ConnectToPort(target_.port, platform::Milliseconds{0});
    if (!connection) return std::unexpected(std::move(connection.error()));
    if (!is_resident(connection->server)) {
      return Fail(ErrorKind::kUnavailable, "the port is held by somebody else");
    }
    const std::string headers = headers_ + CallHeader(call);
    return server::Exchange(connection->socket, {.method_and_target = "POST /mcp",
                                                 .type = "application/json",
                                                 .headers = headers,
                                                 .body = message});
  }

  /// Whether a listener is the resident and the user's own: one that was not seen before is asked.
  bool is_resident(const platform::ServerIdentity& server) {
    if (!server::IsOwnListener(server)) return false;
    const std::scoped_lock lock(mutex_);
    if (server.listener != 0 && server.listener == resident_) return true;
    const Probe probe = ProbeResident(target_.port);
    if (probe.result != ProbeResult::Current || probe.listener != server.listener) return false;
    resident_ = probe.listener;
    return true;
  }

  /// One at a time: those who come second find the resident up.
  bool bring_up() {
    const std::scoped_lock lock(mutex_);
    return EnsureResident(target_.port, start_);
  }

  const Target& target_;
  const ResidentStart& start_;
  const std::string headers_;
  std::mutex mutex_;
  std::uint64_t resident_ = 0;  // guarded by mutex_; the listener that was seen to be the resident
};

}  // namespace

int McpBridge(const Target& target, const ResidentStart& start) {
  if (!platform::StartSockets()) return 1;
  Relay relay(target, start);
  McpStdio([&relay](const std::string& message) { return relay.answer(message); }).serve();
  return 0;
}

}  // namespace mrb::front
