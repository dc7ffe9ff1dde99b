#pragma once

#include <cstdint>
#include <mutex>
#include <string_view>

#include "platform/sockets.h"
#include "server/http/chat_layer.h"
#include "server/http/http_message.h"
#include "server/http/websocket_clients.h"
#include "server/http/websocket_frame.h"

namespace mrb::server {

/// One upgraded connection, from the handshake to its end, on the connection's own thread.
///
/// The socket must have no receive time-out: a chat may be silent for days.
class WebSocketConnection final : public WebSocketClient {
 public:
  /// `chat` may be null: messages are dropped then.
  WebSocketConnection(platform::Socket& socket, WebSocketClients& clients, ChatLayer* chat)
      : socket_(socket), clients_(clients), chat_(chat) {}

  /// Answers the handshake and serves frames until the client, an error or a shutdown ends it.
  /// `early` are the bytes that came behind the head. No answer when the request has no key. True
  /// when a close frame was the last thing sent, which the client should get to read.
  bool serve(const Request& request, std::string_view early);

  std::uint64_t id() const override { return id_; }
  bool trusted() const override { return trusted_; }
  bool send_text(std::string_view message) override;

 private:
  bool shake_hands(const Request& request);
  void receive_frames(std::string_view early);
  bool take(std::string_view bytes);
  bool send_frame(WebSocketOpcode opcode, std::string_view payload);
  bool send(std::string_view bytes, bool last = false);

  platform::Socket& socket_;
  WebSocketClients& clients_;
  ChatLayer* chat_;
  std::uint64_t id_ = 0;
  bool trusted_ = false;
  bool close_sent_ = false;
  WebSocketReader reader_;
  std::mutex send_mutex_;  // whole frames only, whoever sends
  bool ended_ = false;     // guarded by send_mutex_: a close frame went out, or another in part
};

}  // namespace mrb::server
