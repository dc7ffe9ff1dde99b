#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "platform/sockets.h"
#include "server/request_reader.h"
#include "server/route_table.h"
#include "server/session_gate.h"
#include "server/websocket_clients.h"

namespace mrb::server {

/// What one thread keeps from connection to connection, so that a small request allocates little.
struct ConnectionBuffers {
  RequestReader reader;
  std::string answer;
};

/// What every connection of a server shares.
struct ConnectionServices {
  Services routes;
  SessionGate& gate;
  WebSocketClients& clients;
  std::uint16_t port = 0;  ///< the one the server listens on
};

/// The time-outs that a connection begins with: the server's listener hands them to each.
inline constexpr platform::Milliseconds kReceiveTimeout{15000};  ///< of silence in a request
inline constexpr platform::Milliseconds kSendTimeout{5000};

/// One accepted connection, its time-outs set: reads the request, answers it and takes leave, or
/// becomes a WebSocket.
class Connection {
 public:
  Connection(platform::Socket& socket, bool loopback, const ConnectionServices& services,
             ConnectionBuffers& buffers)
      : socket_(socket), loopback_(loopback), services_(services), buffers_(buffers) {}

  /// Blocks until the connection may be closed, which the caller does. True when it ended with an
  /// answer: the sending side is shut down then, and the peer is to close first.
  [[nodiscard]] bool serve();

 private:
  bool read_head();
  void read_body(std::uint64_t length);
  bool receive_piece();
  bool sign_in(std::uint64_t body_length);
  bool upgrade(const Request& request);
  bool send_answer(const Response& response);
  bool answer(const Response& response);
  [[nodiscard]] Request request() const;

  platform::Socket& socket_;
  const bool loopback_;
  const ConnectionServices& services_;
  ConnectionBuffers& buffers_;
};

}  // namespace mrb::server
