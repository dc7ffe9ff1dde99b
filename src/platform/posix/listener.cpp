#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <thread>
#include <utility>

#include "platform/posix/socket_options.h"
#include "platform/posix/system_error.h"
#include "platform/sockets.h"

// stop() shuts the listening socket down: the system then wakes every thread that waits in accept()
// and refuses later calls, both with EINVAL. The descriptor stays open until destruction, so its
// number cannot come back as something else under a thread that is about to call accept().

namespace mrb::platform {
namespace {

/// Long enough for another connection to end and give its descriptor back, short enough not to
/// notice.
constexpr Milliseconds kOutOfDescriptorsPause{20};

/// The kind tells which step failed, whatever the system's reason.
std::unexpected<Error> FailStep(ErrorKind step, std::string_view attempt, std::uint16_t port) {
  Error error = SystemError(errno, attempt, "port " + std::to_string(port));
  error.kind = step;
  return std::unexpected(std::move(error));
}

sockaddr_in AddressOf(bool loopback_only, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(loopback_only ? INADDR_LOOPBACK : INADDR_ANY);
  address.sin_port = htons(port);
  return address;
}

std::uint16_t BoundPort(int fd) {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  return ntohs(address.sin_port);
}

/// Failures of the connection that was taken, or of the moment: the listener itself is sound.
bool IsPassing(int code) {
  switch (code) {
    case EINTR:
    case EAGAIN:
    case ECONNABORTED:
    case EPERM:
    case EPROTO:
    case ENETDOWN:
    case ENOPROTOOPT:
    case EHOSTDOWN:
    case ENONET:
    case EHOSTUNREACH:
    case ENETUNREACH:
    case ETIMEDOUT:
      return true;
    default:
      return false;
  }
}

bool IsShortage(int code) {
  return code == EMFILE || code == ENFILE || code == ENOBUFS || code == ENOMEM;
}

/// Takes the port of [::1]; -1 with errno.
int BindLocalhost(std::uint16_t port) {
  const int fd = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return fd;
  const int on = 1;
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = IN6ADDR_LOOPBACK_INIT;
  address.sin6_port = htons(port);
  if (::setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on) == 0 &&
      ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    return fd;
  }
  const int code = errno;
  ::close(fd);
  errno = code;
  return -1;
}

/// Whether a failure says that this machine has no [::1], for anybody.
bool HasNoLocalhost(int code) {
  return code == EAFNOSUPPORT || code == EADDRNOTAVAIL;
}

}  // namespace

struct Listener::Waiters {};  // the system knows them

Listener::Listener() = default;

Listener::Listener(Listener&& other) noexcept
    : handle_(std::exchange(other.handle_, Socket::kNone)),
      localhost_(std::move(other.localhost_)),
      port_(std::exchange(other.port_, 0)),
      holds_localhost_(other.holds_localhost_) {}

Listener& Listener::operator=(Listener&& other) noexcept {
  if (this != &other) {
    if (handle_ != Socket::kNone) ::close(static_cast<int>(handle_));
    handle_ = std::exchange(other.handle_, Socket::kNone);
    localhost_ = std::move(other.localhost_);
    port_ = std::exchange(other.port_, 0);
    holds_localhost_ = other.holds_localhost_;
  }
  return *this;
}

Listener::~Listener() {
  if (handle_ != Socket::kNone) ::close(static_cast<int>(handle_));
}

Result<Listener> Listener::listen(std::uint16_t port, bool loopback_only) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return FailStep(ErrorKind::kUnavailable, "open a socket for", port);
  Listener listener;
  listener.handle_ = static_cast<Socket::Native>(fd);
  // Lets us bind while connections of an earlier resident linger; it does not let two processes
  // listen.
  const int on = 1;
  const sockaddr_in address = AddressOf(loopback_only, port);
  if (::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return FailStep(ErrorKind::kBusy, "bind", port);
  }
  if (::listen(fd, SOMAXCONN) != 0) return FailStep(ErrorKind::kIo, "listen on", port);
  listener.port_ = BoundPort(fd);
  const int localhost = BindLocalhost(listener.port_);
  listener.holds_localhost_ = localhost >= 0 || HasNoLocalhost(errno);
  if (localhost >= 0) listener.localhost_ = Socket(static_cast<Socket::Native>(localhost));
  return listener;
}

Status Listener::expect_requests(Milliseconds receive_timeout, Milliseconds send_timeout) {
  // Accepted sockets inherit the time-outs, which saves two calls for each. accept() itself then
  // comes back empty-handed now and again, and goes on.
  const int fd = static_cast<int>(handle_);
  if (Status set = SetSocketTimeout(fd, SO_RCVTIMEO, receive_timeout); !set) return set;
  if (Status set = SetSocketTimeout(fd, SO_SNDTIMEO, send_timeout); !set) return set;
  // One wake-up for connection and request instead of two.
  const int seconds = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_DEFER_ACCEPT, &seconds, sizeof seconds);
  return {};
}

Result<Listener::Accepted> Listener::accept() {
  for (;;) {
    sockaddr_in peer{};
    socklen_t length = sizeof peer;
    const int fd = ::accept4(static_cast<int>(handle_), reinterpret_cast<sockaddr*>(&peer), &length,
                             SOCK_CLOEXEC);
    if (fd >= 0) {
      return Accepted{Socket(static_cast<Socket::Native>(fd)), ntohl(peer.sin_addr.s_addr)};
    }
    const int code = errno;
    if (code == EINVAL) return Fail(ErrorKind::kClosed, "the listener was stopped");
    if (IsShortage(code)) {
      std::this_thread::sleep_for(kOutOfDescriptorsPause);
    } else if (!IsPassing(code)) {
      return FailErrno("accept on", "port " + std::to_string(port_));
    }
  }
}

void Listener::stop() {
  if (handle_ != Socket::kNone) ::shutdown(static_cast<int>(handle_), SHUT_RDWR);
}

}  // namespace mrb::platform
