#include "platform/sockets.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <string>
#include <utility>

#include "platform/posix/descriptor.h"
#include "platform/posix/socket_options.h"
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

void Socket::shutdown_send() {
  ::shutdown(static_cast<int>(handle_), SHUT_WR);
}

void Socket::shutdown_both() {
  ::shutdown(static_cast<int>(handle_), SHUT_RDWR);
}

}  // namespace mrb::platform
