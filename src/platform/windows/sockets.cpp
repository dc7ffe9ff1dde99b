#include "platform/sockets.h"

#include <winsock2.h>
//
#include <mstcpip.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <climits>
#include <string>
#include <utility>

#include "platform/windows/socket_options.h"
#include "platform/windows/system_error.h"

namespace mrb::platform {
namespace {

constexpr WORD kWinsock22 = 0x0202;

std::string Where(std::uint16_t port) {
  return "port " + std::to_string(port);
}

int LengthOf(std::size_t bytes) {
  return static_cast<int>(std::min(bytes, static_cast<std::size_t>(INT_MAX)));
}

Status SetTimeout(SOCKET socket, int option, Milliseconds timeout) {
  const auto value = static_cast<DWORD>(timeout.count());
  if (::setsockopt(socket, SOL_SOCKET, option, reinterpret_cast<const char*>(&value),
                   sizeof value) != 0) {
    return FailLastError("set", "a socket's time-out");
  }
  return {};
}

void SetBlocking(SOCKET socket, bool blocking) {
  u_long non_blocking = blocking ? 0 : 1;
  ::ioctlsocket(socket, static_cast<long>(FIONBIO), &non_blocking);
}

/// By default the system answers a refused connection by trying twice more, half a second apart
/// each: a second lost by every command for which no resident runs. A system that does not know the
/// setting keeps its way.
void RefuseAtOnce(SOCKET socket) {
  TCP_INITIAL_RTO_PARAMETERS parameters{};
  parameters.Rtt = TCP_INITIAL_RTO_UNSPECIFIED_RTT;
  parameters.MaxSynRetransmissions = TCP_INITIAL_RTO_NO_SYN_RETRANSMISSIONS;
  DWORD ignored = 0;
  ::WSAIoctl(socket, SIO_TCP_INITIAL_RTO, &parameters, sizeof parameters, nullptr, 0, &ignored,
             nullptr, nullptr);
}

/// Waits for the end of a connect that is under way; 0 or the error it ended with.
int AwaitConnect(SOCKET socket, Milliseconds timeout) {
  fd_set connected;
  fd_set failed;
  FD_ZERO(&connected);
  FD_ZERO(&failed);
  FD_SET(socket, &connected);
  FD_SET(socket, &failed);
  timeval limit{};
  limit.tv_sec = static_cast<long>(timeout.count() / 1000);
  limit.tv_usec = static_cast<long>(timeout.count() % 1000 * 1000);
  const int ready =
      ::select(0, nullptr, &connected, &failed, timeout.count() == 0 ? nullptr : &limit);
  if (ready == 0) return WSAETIMEDOUT;
  if (ready < 0) return ::WSAGetLastError();
  int error = 0;
  int length = sizeof error;
  ::getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &length);
  return error;
}

/// 0 or the error. The socket's own time-outs do not bound a connect here, hence the detour.
int Connect(SOCKET socket, std::uint32_t ipv4, std::uint16_t port, Milliseconds timeout) {
  const sockaddr_in address = AddressOf(ipv4, port);
  SetBlocking(socket, false);
  int error = 0;
  if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    error = ::WSAGetLastError();
    if (error == WSAEWOULDBLOCK) error = AwaitConnect(socket, timeout);
  }
  SetBlocking(socket, true);
  return error;
}

}  // namespace

HANDLE AsHandle(SOCKET socket) {
  // A socket is a handle by the system's own account, although its type is an integer.
  return reinterpret_cast<HANDLE>(socket);  // NOLINT(performance-no-int-to-ptr)
}

SOCKET OpenTcpSocket() {
  return ::WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0,
                      WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

sockaddr_in AddressOf(std::uint32_t ipv4, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = ::htonl(ipv4);
  address.sin_port = ::htons(port);
  return address;
}

Status StartSockets() {
  static const int error = [] {
    WSADATA data{};
    return ::WSAStartup(kWinsock22, &data);
  }();
  if (error == 0) return {};
  return std::unexpected(
      SystemError(static_cast<unsigned long>(error), "start", "the socket library"));
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
  if (handle_ != kNone) ::closesocket(handle_);
  handle_ = kNone;
}

Result<Socket> Socket::connect(std::uint32_t ipv4, std::uint16_t port, Milliseconds timeout) {
  const SOCKET handle = OpenTcpSocket();
  if (handle == INVALID_SOCKET) return FailLastError("open a socket for", Where(port));
  Socket socket(handle);
  if (Status set = socket.set_receive_timeout(timeout); !set) return std::unexpected(set.error());
  if (Status set = socket.set_send_timeout(timeout); !set) return std::unexpected(set.error());
  RefuseAtOnce(handle);
  if (const int error = Connect(handle, ipv4, port, timeout); error != 0) {
    return std::unexpected(
        SystemError(static_cast<unsigned long>(error), "connect to", Where(port)));
  }
  return socket;
}

Status Socket::set_receive_timeout(Milliseconds timeout) {
  return SetTimeout(handle_, SO_RCVTIMEO, timeout);
}

Status Socket::set_send_timeout(Milliseconds timeout) {
  return SetTimeout(handle_, SO_SNDTIMEO, timeout);
}

Status Socket::set_no_delay() {
  const BOOL on = TRUE;
  if (::setsockopt(handle_, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on),
                   sizeof on) != 0) {
    return FailLastError("set", "a socket's options");
  }
  return {};
}

Result<std::size_t> Socket::receive(char* out, std::size_t bytes) {
  const int got = ::recv(handle_, out, LengthOf(bytes), 0);
  if (got < 0) return FailLastError("receive from", "a connection");
  return static_cast<std::size_t>(got);
}

Result<std::size_t> Socket::receive_arrived(char* out, std::size_t bytes) {
  WSAPOLLFD poll{};
  poll.fd = handle_;
  poll.events = POLLRDNORM;
  const int ready = ::WSAPoll(&poll, 1, 0);
  if (ready < 0) return FailLastError("receive from", "a connection");
  if (ready == 0) return Fail(ErrorKind::kTimedOut, "nothing has arrived on a connection");
  return receive(out, bytes);
}

Result<std::size_t> Socket::send(std::string_view bytes) {
  bytes = bytes.substr(0, INT_MAX);
  const int put = ::send(handle_, bytes.data(), static_cast<int>(bytes.size()), 0);
  if (put < 0) return FailLastError("send to", "a connection");
  return static_cast<std::size_t>(put);
}

// The time-out is for one call, and a call is done once the system holds all of its bytes: so it
// gets no more than a peer that reads at all takes within the time-out.
Status Socket::send_all(std::string_view bytes) {
  constexpr std::size_t kPiece = 65536;
  while (!bytes.empty()) {
    const auto sent = send(bytes.substr(0, kPiece));
    if (!sent) return std::unexpected(sent.error());
    bytes.remove_prefix(*sent);
  }
  return {};
}

void Socket::reset_on_close() {
  const linger drop{.l_onoff = 1, .l_linger = 0};
  ::setsockopt(handle_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&drop), sizeof drop);
}

void Socket::shutdown_send() {
  ::shutdown(handle_, SD_SEND);
}

void Socket::shutdown_both() {
  ::shutdown(handle_, SD_BOTH);
  // A receive that began before the shutdown goes on waiting for the peer; it must be called off.
  ::CancelIoEx(AsHandle(handle_), nullptr);
}

}  // namespace mrb::platform
