#include "server/loopback_request.h"

#include <array>
#include <utility>

#include "common/text.h"
#include "platform/sockets.h"
#include "server/http_head.h"

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

}  // namespace

Result<std::string> AskResident(std::int32_t port, const LoopbackRequest& request) {
  auto socket = platform::Socket::connect_loopback(static_cast<std::uint16_t>(port),
                                                   platform::Milliseconds{0});
  if (!socket) return std::unexpected(std::move(socket.error()));
  std::string bytes(request.method_and_target);
  bytes += " HTTP/1.1\r\nHost: 127.0.0.1\r\n";
  bytes += request.headers;
  bytes +=
      "Content-Length: " + std::to_string(request.body.size()) + "\r\nConnection: close\r\n\r\n";
  bytes += request.body;
  if (Status sent = socket->send_all(bytes); !sent) return std::unexpected(std::move(sent.error()));
  socket->shutdown_send();
  auto answer = ReadAnswer(*socket);
  if (!answer) return answer;
  const auto head_end = answer->find(kHeadEnd);
  if (head_end == std::string::npos) return Fail(ErrorKind::kClosed, "no answer");
  const std::string_view head = std::string_view(*answer).substr(0, head_end + kHeadEnd.size());
  const std::string_view body = std::string_view(*answer).substr(head.size());
  const auto length = ParseDecimal(HeaderValue(head, "content-length"));
  if (length && body.size() < *length) return Fail(ErrorKind::kClosed, "a cut answer");
  return std::string(body);
}

}  // namespace mrb::server
