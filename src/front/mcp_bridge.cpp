#include "front/mcp_bridge.h"

#include <array>
#include <optional>
#include <string_view>

#include "front/hand_off.h"
#include "front/health_text.h"
#include "platform/console.h"
#include "platform/sockets.h"

namespace mrb::front {
namespace {

using platform::Socket;

/// The answer's body; nothing when the message was not delivered or the connection gave no answer.
std::optional<std::string> Relay(std::int32_t port, const std::string& folder_header,
                                 std::string_view message) {
  auto socket =
      Socket::connect_loopback(static_cast<std::uint16_t>(port), platform::Milliseconds{0});
  if (!socket) return std::nullopt;
  std::string request =
      "POST /mcp HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n";
  request += "Content-Length: " + std::to_string(message.size()) + "\r\n" + folder_header +
             "Connection: close\r\n\r\n";
  request += message;
  if (!socket->send_all(request)) return std::nullopt;
  socket->shutdown_send();
  std::string answer;
  std::array<char, 8192> chunk{};
  for (;;) {
    const auto received = socket->receive(chunk.data(), chunk.size());
    if (!received || *received == 0) break;
    answer.append(chunk.data(), *received);
  }
  if (answer.empty()) return std::nullopt;
  return std::string(AnswerBody(answer));
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
