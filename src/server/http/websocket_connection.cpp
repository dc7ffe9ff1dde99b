#include "server/http/websocket_connection.h"

#include <array>
#include <string>

namespace mrb::server {

bool WebSocketConnection::serve(const Request& request, std::string_view early) {
  if (!shake_hands(request)) return false;
  (void)socket_.set_no_delay();  // a slower chat is still a chat
  trusted_ = request.trusted;
  id_ = clients_.add(*this);
  receive_frames(early);
  clients_.remove(*this);
  if (chat_ != nullptr) chat_->leave(*this);
  return close_sent_;
}

bool WebSocketConnection::shake_hands(const Request& request) {
  const std::string_view key = request.header("sec-websocket-key");
  if (key.empty()) return false;
  return send(
      "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Accept: " +
      AcceptValue(key) + "\r\n\r\n");
}

void WebSocketConnection::receive_frames(std::string_view early) {
  if (!take(early)) return;
  std::array<char, 4096> piece{};
  for (;;) {
    const auto received = socket_.receive(piece.data(), piece.size());
    if (!received || *received == 0 || !take({piece.data(), *received})) return;
  }
}

/// Acts on what the bytes complete; false when the connection is to end.
bool WebSocketConnection::take(std::string_view bytes) {
  using Event = WebSocketReader::Event;
  for (;;) {
    switch (reader_.next(bytes)) {
      case Event::kNone:
        return true;
      case Event::kMessage:
        if (chat_ != nullptr) chat_->message(*this, reader_.payload());
        break;
      case Event::kPing:
        if (!send_frame(WebSocketOpcode::kPong, reader_.payload())) return false;
        break;
      case Event::kClose:
        close_sent_ = send(CloseFrame(kCloseNormal), true);
        return false;
      case Event::kProtocolError:
        close_sent_ = send(CloseFrame(kCloseProtocolError), true);
        return false;
      case Event::kTooLarge:
        return false;
    }
  }
}

bool WebSocketConnection::send_text(std::string_view message) {
  return send_frame(WebSocketOpcode::kText, message);
}

bool WebSocketConnection::send_frame(WebSocketOpcode opcode, std::string_view payload) {
  std::string frame;
  AppendFrame(frame, opcode, payload);
  return send(frame);
}

bool WebSocketConnection::send(std::string_view bytes, bool last) {
  const std::scoped_lock lock(send_mutex_);
  if (ended_) return false;
  const bool sent = socket_.send_all(bytes).has_value();
  ended_ = last || !sent;
  // Nothing can follow half a frame; the receiving thread has to hear of it, too.
  if (!sent) socket_.shutdown_both();
  return sent;
}

}  // namespace mrb::server
