#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "platform/peer_identity.h"
#include "platform/sockets.h"
#include "server/http/request_reader.h"
#include "server/http/session_gate.h"
#include "server/http/trust.h"
#include "server/http/websocket_clients.h"
#include "server/routes/route_table.h"

namespace mrb::server {

/// What every connection of a server shares.
struct ConnectionServices {
  Services routes;
  SessionGate& gate;
  WebSocketClients& clients;
  platform::PeerIdentity& identity;
  OwnAddress address;
  /// Takes why the system does not tell whose program a peer is. Any thread.
  std::function<void(std::string_view)> identity_missing;
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
  using Deadline = std::chrono::steady_clock::time_point;

  bool read_head();
  bool read_and_answer(const Request& request, std::uint64_t body_length);
  bool invite_body(std::uint64_t length);
  bool read_body(std::uint64_t length);
  bool skip_body(std::uint64_t length);
  bool receive_piece(Deadline deadline);
  [[nodiscard]] std::string_view receive(std::span<char> room, Deadline deadline);
  bool sign_in(std::uint64_t body_length);
  void judge(Request& request);
  [[nodiscard]] bool is_own_program(Request& request) const;
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
