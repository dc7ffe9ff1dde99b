#pragma once

#include <cstdint>
#include <string_view>

namespace mrb::server {

/// One open WebSocket, as the chat layer sees it. Valid until leave() of it has returned.
class WebSocketClient {
 public:
  WebSocketClient() = default;
  WebSocketClient(const WebSocketClient&) = delete;
  WebSocketClient& operator=(const WebSocketClient&) = delete;
  virtual ~WebSocketClient() = default;

  [[nodiscard]] virtual std::uint64_t id() const = 0;
  [[nodiscard]] virtual bool trusted() const = 0;

  /// Sends one text message; false when the connection is gone. Any thread.
  virtual bool send_text(std::string_view message) = 0;
};

/// What WebSocket connections carry. Calls come from the connections' threads, several at once.
class ChatLayer {
 public:
  ChatLayer() = default;
  ChatLayer(const ChatLayer&) = delete;
  ChatLayer& operator=(const ChatLayer&) = delete;
  virtual ~ChatLayer() = default;

  /// One complete message. The text may hold any bytes.
  virtual void message(WebSocketClient& client, std::string_view text) = 0;
  virtual void leave(WebSocketClient& client) = 0;
};

}  // namespace mrb::server
