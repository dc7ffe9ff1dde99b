#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string_view>

#include "chat/hub.h"
#include "server/http/chat_layer.h"

namespace mrb::server {

/// The chat's WebSocket frames. A client sends lines of text, the first of which says what it
/// wants; it gets JSON records (see chat/record.h) and the answers below. docs/http.md has them
/// all.
class ChatSockets final : public ChatLayer {
 public:
  /// The hub outlives this.
  explicit ChatSockets(chat::Hub& hub) : hub_(hub) {}

  void message(WebSocketClient& client, std::string_view text) override;
  void leave(WebSocketClient& client) override;

 private:
  using OutboxRef = std::shared_ptr<chat::Outbox>;

  OutboxRef outbox_of(WebSocketClient& client);
  void join(WebSocketClient& client, std::string_view callsign, std::string_view channel);
  void say(WebSocketClient& client, std::string_view channel, std::string_view text);
  void reply(WebSocketClient& client, std::string json);
  void refuse(WebSocketClient& client, std::string_view why);

  chat::Hub& hub_;
  std::mutex mutex_;
  std::map<std::uint64_t, OutboxRef> outboxes_;  // guarded by mutex_; by the client's id
};

}  // namespace mrb::server
