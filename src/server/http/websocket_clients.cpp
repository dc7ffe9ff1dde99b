#include "server/http/websocket_clients.h"

namespace mrb::server {

std::uint64_t WebSocketClients::add(WebSocketClient& client) {
  const std::scoped_lock lock(mutex_);
  clients_.push_back(&client);
  return next_id_++;
}

void WebSocketClients::remove(WebSocketClient& client) {
  const std::scoped_lock lock(mutex_);
  std::erase(clients_, &client);
}

void WebSocketClients::for_each(const std::function<void(WebSocketClient&)>& visit) {
  const std::scoped_lock lock(mutex_);
  for (WebSocketClient* client : clients_) visit(*client);
}

std::size_t WebSocketClients::size() {
  const std::scoped_lock lock(mutex_);
  return clients_.size();
}

}  // namespace mrb::server
