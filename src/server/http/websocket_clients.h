#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

#include "server/http/chat_layer.h"

namespace mrb::server {

/// The open WebSockets of a server. Thread-safe.
class WebSocketClients {
 public:
  /// Lists a client until remove(); answers its id, counted from 0 and never given out again.
  std::uint64_t add(WebSocketClient& client);
  void remove(WebSocketClient& client);

  /// Calls `visit` for each client. None comes or goes meanwhile, so a visit must be short and must
  /// not end a connection's thread.
  void for_each(const std::function<void(WebSocketClient&)>& visit);

  [[nodiscard]] std::size_t size();

 private:
  std::mutex mutex_;
  std::vector<WebSocketClient*> clients_;  // guarded by mutex_
  std::uint64_t next_id_ = 0;              // guarded by mutex_
};

}  // namespace mrb::server
