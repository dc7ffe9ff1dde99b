#include "platform/sockets.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <utility>

#include "platform/posix/descriptor.h"
#include "platform/posix/socket_options.h"
#include "platform/posix/system_calls.h"
#include "platform/posix/system_error.h"

namespace mrb::platform {
namespace {

std::string Where(std::uint16_t port) {
  return "port " + std::to_string(port);
}

sockaddr_in AddressOf(std::uint32_t ipv4, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(ipv4);
  address.sin_port = htons(port);
  return address;
}

/// A send or receive that ran into its time-out reports "try again".
std::unexpected<Error> FailTransfer(std::string_view attempt) {
  const int code = errno == EAGAIN ? ETIMEDOUT : errno;
  return std::unexpected<Error>(SystemError(code, attempt, "a connection"));
}

/// The send time-out; -1 for none.
int SendTimeoutMs(int fd) {
  timeval value{};
  socklen_t length = sizeof value;
  ::getsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &value, &length);
  const auto milliseconds = value.tv_sec * 1000 + value.tv_usec / 1000;
  return milliseconds == 0 ? -1 : static_cast<int>(milliseconds);
}

/// Waits until there is room for more; false when the peer has taken nothing for the time-out. Room
/// alone does not tell: the system announces it only when there is a good deal of it.
bool AwaitRoom(int fd) {
  using Clock = std::chrono::steady_clock;
  constexpr int kLookMs = 500;
  const int timeout = SendTimeoutMs(fd);
  pollfd wait{fd, POLLOUT, 0};
  if (timeout < 0) return Uninterrupted([&] { return ::poll(&wait, 1, -1); }) > 0;
  int unsent = UnsentBytes(fd);
  auto last_taken = Clock::now();
  for (;;) {
    const int ready = Uninterrupted([&] { return ::poll(&wait, 1, std::min(timeout, kLookMs)); });
    if (ready != 0) return ready > 0;
    const int left = UnsentBytes(fd);
    if (left < unsent) last_taken = Clock::now();
    unsent = left;
    if (Clock::now() - last_taken >= Milliseconds(timeout)) return false;
  }
}

}  // namespace

Status SetSocketTimeout(int fd, int option, Milliseconds timeout) {
  timeval value{};
  value.tv_sec = timeout.count() / 1000;
  value.tv_usec = timeout.count() % 1000 * 1000;
  if (::setsockopt(fd, SOL_SOCKET, option, &value, sizeof value) != 0) {
    return FailErrno("set", "a socket's time-out");
  }
  return {};
}

// Every send carries MSG_NOSIGNAL, so there is nothing to prepare, and children keep their SIGPIPE.
Status StartSockets() {
  return {};
}

Socket::Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, kNone)) {}

Socket& Socket::operator=(Socket&& other) noexcept {
  if (this != &other) {
    close();
    handle_ = std::exchange(other.handle_, kNone);
  }
  return *this;
}

Socket::~Socket() {
  close();
}

void Socket::close() noexcept {
  if (handle_ != kNone) ::close(static_cast<int>(handle_));
  handle_ = kNone;
}

Result<Socket> Socket::connect(std::uint32_t ipv4, std::uint16_t port, Milliseconds timeout) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return FailErrno("open a socket for", Where(port));
  Socket socket(static_cast<Native>(fd));
  if (Status set = socket.set_receive_timeout(timeout); !set) return std::unexpected(set.error());
  // The send time-out bounds the connect too.
  if (Status set = socket.set_send_timeout(timeout); !set) return std::unexpected(set.error());
  const sockaddr_in address = AddressOf(ipv4, port);
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    if (errno == EINPROGRESS || errno == EAGAIN) errno = ETIMEDOUT;
    return FailErrno("connect to", Where(port));
  }
  return socket;
}

Status Socket::set_receive_timeout(Milliseconds timeout) {
  return SetSocketTimeout(static_cast<int>(handle_), SO_RCVTIMEO, timeout);
}

Status Socket::set_send_timeout(Milliseconds timeout) {
  return SetSocketTimeout(static_cast<int>(handle_), SO_SNDTIMEO, timeout);
}

Status Socket::set_no_delay() {
  const int on = 1;
  if (::setsockopt(static_cast<int>(handle_), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0) {
    return FailErrno("set", "a socket's options");
  }
  return {};
}

Result<std::size_t> Socket::receive(char* out, std::size_t bytes) {
  const auto got = Uninterrupted([&] { return ::recv(static_cast<int>(handle_), out, bytes, 0); });
  if (got < 0) return FailTransfer("receive from");
  return static_cast<std::size_t>(got);
}

Result<std::size_t> Socket::receive_arrived(char* out, std::size_t bytes) {
  const auto got =
      Uninterrupted([&] { return ::recv(static_cast<int>(handle_), out, bytes, MSG_DONTWAIT); });
  if (got < 0) return FailTransfer("receive from");
  return static_cast<std::size_t>(got);
}

Result<std::size_t> Socket::send(std::string_view bytes) {
  const auto put = Uninterrupted(
      [&] { return ::send(static_cast<int>(handle_), bytes.data(), bytes.size(), MSG_NOSIGNAL); });
  if (put < 0) return FailTransfer("send to");
  return static_cast<std::size_t>(put);
}

Status Socket::send_all(std::string_view bytes) {
  const int fd = static_cast<int>(handle_);
  while (!bytes.empty()) {
    const auto put = Uninterrupted(
        [&] { return ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT); });
    if (put >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(put));
    } else if (errno != EAGAIN) {
      return FailTransfer("send to");
    } else if (!AwaitRoom(fd)) {
      return std::unexpected(SystemError(ETIMEDOUT, "send to", "a connection"));
    }
  }
  return {};
}

void Socket::reset_on_close() {
  const linger drop{.l_onoff = 1, .l_linger = 0};
  ::setsockopt(static_cast<int>(handle_), SOL_SOCKET, SO_LINGER, &drop, sizeof drop);
}

void Socket::shutdown_send() {
  ::shutdown(static_cast<int>(handle_), SHUT_WR);
}

void Socket::shutdown_both() {
  ::shutdown(static_cast<int>(handle_), SHUT_RDWR);
}

}  // namespace mrb::platform
