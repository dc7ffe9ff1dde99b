#include "server/http/loopback_request.h"

#include <array>
#include <utility>

#include "common/text.h"
#include "platform/sockets.h"
#include "server/http/http_head.h"

namespace mrb::server {
namespace {

constexpr std::string_view kHeadEnd = "\r\n\r\n";

Result<std::string> ReadAnswer(platform::Socket& socket) {
  std::string answer;
  std::array<char, 16384> piece;  // NOLINT: filled by the system
  for (;;) {
    const auto got = socket.receive(piece.data(), piece.size());
    if (!got) return std::unexpected(got.error());
    if (*got == 0) return answer;
    answer.append(piece.data(), *got);
  }
}

/// The number behind "HTTP/1.1 ".
int StatusOf(std::string_view head) {
  const auto words = SplitWords(head.substr(0, head.find('\r')));
  return words.size() < 2 ? 0 : static_cast<int>(ParseDecimal(words[1].substr(0, 3)).value_or(0));
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
  const auto head_end = answer->find(kHeadEnd);
  if (head_end == std::string::npos) {
    return answer->empty() ? Fail(ErrorKind::kClosed, "no answer")
                           : Fail(ErrorKind::kCorrupt, "a cut answer");
  }
  const std::string_view head = std::string_view(*answer).substr(0, head_end + kHeadEnd.size());
  const std::string_view body = std::string_view(*answer).substr(head.size());
  const auto length = ParseDecimal(HeaderValue(head, "content-length"));
  if (length && body.size() < *length) return Fail(ErrorKind::kCorrupt, "a cut answer");
  return LoopbackAnswer{StatusOf(head), std::string(body)};
}

Result<std::string> AskResident(std::int32_t port, const LoopbackRequest& request) {
  auto connection = ConnectToPort(port, platform::Milliseconds{0});
  if (!connection) return std::unexpected(std::move(connection.error()));
  if (!IsOwnListener(connection->server)) {
    return Fail(ErrorKind::kUnavailable, "the port is held by a program of another user");
  }
  auto answer = Exchange(connection->socket, request);
  if (!answer) return std::unexpected(std::move(answer.error()));
  return std::move(answer->body);
}

}  // namespace mrb::server
