#pragma once

#include <cstdint>
#include <memory>

#include "server/routes/server_options.h"

namespace mrb::server {

/// The HTTP/1.1 and WebSocket server of a resident. One per process and port.
///
///     Server server(options);
///     std::thread([&] { server.serve(); }).detach();
class Server {
 public:
  explicit Server(ServerOptions options);
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  /// Ends every connection and waits for their threads.
  ~Server();

  /// Listens and answers until stop(). 1 when the network cannot be set up (the reason is logged; a
  /// port in use is retried for 120 s), 0 after stop().
  [[nodiscard]] int serve();

  /// Makes serve() return and closes open connections. Any thread.
  void stop();

  /// The port it listens on; 0 before that.
  [[nodiscard]] std::uint16_t port() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace mrb::server
