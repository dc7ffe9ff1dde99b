#include "front/mcp_bridge.h"

#include <mutex>
#include <string_view>

#include "front/hand_off.h"
#include "front/mcp_lines.h"
#include "mcp/messages.h"
#include "mcp/sessions.h"
#include "platform/sockets.h"
#include "server/loopback_request.h"

namespace mrb::front {
namespace {

class Relay {
 public:
  Relay(std::int32_t port, const std::string& data_home_override)
      : port_(port),
        data_home_override_(data_home_override),
        headers_("Content-Type: application/json\r\nMcp-Session-Id: " + mcp::Sessions::new_id() +
                 "\r\n" + FolderHeader()) {}

  std::string answer(std::string_view message) {
    auto body = ask(message);
    if (!body && body.error().kind != ErrorKind::kCorrupt && bring_up()) body = ask(message);
    if (body) return std::move(*body);
    return mcp::ErrorMessage("null", {mcp::kInternalError, "the resident does not answer"});
  }

 private:
  Result<std::string> ask(std::string_view message) {
    return server::AskResident(
        port_, {.method_and_target = "POST /mcp", .headers = headers_, .body = message});
  }

  /// One at a time: those who come second find the resident up.
  bool bring_up() {
    const std::scoped_lock lock(mutex_);
    return EnsureResident(port_, data_home_override_);
  }

  const std::int32_t port_;
  const std::string data_home_override_;
  const std::string headers_;
  std::mutex mutex_;
};

}  // namespace

int McpBridge(std::int32_t port, const std::string& data_home_override) {
  if (!platform::StartSockets()) return 1;
  Relay relay(port, data_home_override);
  McpLines([&relay](const std::string& message) { return relay.answer(message); }).serve();
  return 0;
}

}  // namespace mrb::front
