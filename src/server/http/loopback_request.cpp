#include "server/http/loopback_request.h"

#include <array>
#include <utility>

#include "common/http_answer.h"
#include "platform/sockets.h"

namespace mrb::server {
namespace {

/// Reads to the end of the answer. kClosed when nothing came, kCorrupt when it was cut off.
Result<HttpAnswer> ReadAnswer(platform::Socket& socket) {
  HttpAnswer answer(HttpAnswer::kNoLimit);
  std::array<char, 16384> piece;  // NOLINT: filled by the system
  bool any = false;
  while (!answer.complete()) {
    const auto got = socket.receive(piece.data(), piece.size());
    if (!got) return std::unexpected(got.error());
    if (*got == 0 && !any) return Fail(ErrorKind::kClosed, "no answer");
    any = true;
    const Status taken = *got == 0 ? answer.end() : answer.feed({piece.data(), *got});
    if (!taken) return Fail(ErrorKind::kCorrupt, "a cut answer");
  }
  return answer;
}

}  // namespace

Result<ResidentConnection> ConnectToPort(std::int32_t port, platform::Milliseconds timeout) {
  auto socket = platform::Socket::connect_loopback(static_cast<std::uint16_t>(port), timeout);
  if (!socket) return std::unexpected(std::move(socket.error()));
  auto server = platform::SystemPeerIdentity().server_of(*socket);
  return ResidentConnection{std::move(*socket), std::move(server)};
}

bool IsOwnListener(const platform::ServerIdentity& server) {
  using Kind = platform::PeerOwner::Kind;
  return server.owner.kind == Kind::kOwnUser || server.owner.kind == Kind::kLessPrivileged;
}

Result<LoopbackAnswer> Exchange(platform::Socket& socket, const LoopbackRequest& request) {
  std::string bytes(request.method_and_target);
  bytes += " HTTP/1.1\r\nHost: 127.0.0.1\r\n";
  if (!request.type.empty()) bytes.append("Content-Type: ").append(request.type).append("\r\n");
  bytes += "Content-Length: " + std::to_string(request.body.size()) + "\r\n";
  bytes += request.headers;
  bytes += "Connection: close\r\n\r\n";
  bytes += request.body;
  if (Status sent = socket.send_all(bytes); !sent) return std::unexpected(std::move(sent.error()));
  socket.shutdown_send();
  auto answer = ReadAnswer(socket);
  if (!answer) return std::unexpected(std::move(answer.error()));
  return LoopbackAnswer{answer->status(), answer->take_body()};
}

}  // namespace mrb::server
