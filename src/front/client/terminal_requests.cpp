#include "front/client/terminal_requests.h"

#include "server/http/loopback_request.h"

namespace mrb::front {
namespace {

using platform::Milliseconds;

constexpr Milliseconds kConnect{500};  // a resident that is stopped, with a full queue
constexpr Milliseconds kSilence{4000};

}  // namespace

/// A connection that give_up() can end.
class TerminalRequests::Open {
 public:
  Open(TerminalRequests& requests, platform::Socket& socket)
      : requests_(requests), socket_(socket) {
    const std::scoped_lock lock(requests_.mutex_);
    if (!requests_.given_up_) is_open_ = requests_.open_.insert(&socket_).second;
  }
  Open(const Open&) = delete;
  Open& operator=(const Open&) = delete;
  ~Open() {
    const std::scoped_lock lock(requests_.mutex_);
    requests_.open_.erase(&socket_);
  }
  [[nodiscard]] explicit operator bool() const { return is_open_; }

 private:
  TerminalRequests& requests_;
  platform::Socket& socket_;
  bool is_open_ = false;
};

Result<std::string> TerminalRequests::ask(const std::string& method_and_target,
                                          std::string_view body) {
  if (has_given_up()) return Fail(ErrorKind::kClosed, "the client is leaving");
  auto connection = server::ConnectToPort(options_.port, kConnect);
  if (!connection) return std::unexpected(std::move(connection.error()));
  if (!server::IsOwnListener(connection->server)) {
    return Fail(ErrorKind::kUnavailable, "the port is held by a program of another user");
  }
  platform::Socket& socket = connection->socket;
  if (Status set = socket.set_receive_timeout(kSilence); !set) return std::unexpected(set.error());
  if (Status set = socket.set_send_timeout(kSilence); !set) return std::unexpected(set.error());
  const Open open(*this, socket);
  if (!open) return Fail(ErrorKind::kClosed, "the client is leaving");
  auto answer = server::Exchange(socket, {method_and_target, {}, options_.headers, body});
  if (!answer) return std::unexpected(std::move(answer.error()));
  return std::move(answer->body);
}

bool TerminalRequests::has_given_up() {
  const std::scoped_lock lock(mutex_);
  return given_up_;
}

void TerminalRequests::give_up() {
  const std::scoped_lock lock(mutex_);
  given_up_ = true;
  for (platform::Socket* socket : open_) socket->shutdown_both();
}

}  // namespace mrb::front
