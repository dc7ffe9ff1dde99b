#include "front/mcp_bridge.h"

#include <optional>
#include <string_view>

#include "front/hand_off.h"
#include "platform/console.h"
#include "platform/sockets.h"
#include "server/loopback_request.h"

namespace mrb::front {
namespace {

/// The answer's body; nothing when the message was not delivered or the connection gave no answer.
std::optional<std::string> Relay(std::int32_t port, const std::string& folder_header,
                                 std::string_view message) {
  auto answer =
      server::AskResident(port, {.method_and_target = "POST /mcp",
                                 .headers = "Content-Type: application/json\r\n" + folder_header,
                                 .body = message});
  if (!answer) return std::nullopt;
  return std::move(*answer);
}

}  // namespace

int McpBridge(std::int32_t port, const std::string& data_home_override) {
  constexpr std::string_view kLost =
      R"({"jsonrpc":"2.0","id":null,"error":{"code":-32603,"message":"the resident does not answer"}})";
  if (!platform::StartSockets()) return 1;
  const std::string folder_header = FolderHeader();
  StdinLines lines;
  while (const auto line = lines.next()) {
    auto body = Relay(port, folder_header, *line);
    if (!body && EnsureResident(port, data_home_override)) body = Relay(port, folder_header, *line);
    const std::string_view text = body ? std::string_view(*body) : kLost;
    if (!text.empty()) platform::WriteStdout(std::string(text) + "\n");
  }
  return 0;
}

}  // namespace mrb::front
