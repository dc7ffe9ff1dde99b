#include <winsock2.h>
//
#include <ws2tcpip.h>

#include <atomic>
#include <string>
#include <utility>

#include "platform/sockets.h"
#include "platform/windows/socket_options.h"
#include "platform/windows/system_error.h"

// Closing the socket would end every accept() that waits, but its number may be another socket's
// before a thread that was about to wait on it gets there. So stop() leaves the socket open, raises
// a flag, and connects to its own port until nobody waits any more.

namespace mrb::platform {

struct Listener::Waiters {
  std::atomic<int> count{0};
  std::atomic<bool> stopped{false};
  Milliseconds receive_timeout{0};
  Milliseconds send_timeout{0};
};

namespace {

/// Long enough for another connection to end and give its buffers back, short enough not to notice.
constexpr DWORD kShortagePauseMs = 20;

/// A wake-up that finds the backlog full is not needed: somebody will be woken by what fills it.
constexpr Milliseconds kWakeTimeout{200};

/// Counts a thread as waiting for as long as it lives.
class Waiting {
 public:
  explicit Waiting(std::atomic<int>& count) : count_(count) { ++count_; }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;
  ~Waiting() { --count_; }

 private:
  std::atomic<int>& count_;
};

bool SetExclusive(SOCKET socket) {
  const BOOL on = TRUE;
  return ::setsockopt(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&on),
                      sizeof on) == 0;
}

/// The kind tells which step failed, whatever the system's reason.
std::unexpected<Error> FailStep(ErrorKind step, std::string_view attempt, std::uint16_t port) {
  Error error = SystemError(::GetLastError(), attempt, "port " + std::to_string(port));
  error.kind = step;
  return std::unexpected(std::move(error));
}

std::uint16_t BoundPort(SOCKET socket) {
  sockaddr_in address{};
  int length = sizeof address;
  ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
  return ::ntohs(address.sin_port);
}

/// Failures of the connection that was taken, or of the moment: the listener itself is sound.
bool IsPassing(int error) {
  return error == WSAECONNRESET || error == WSAECONNABORTED || error == WSAEINTR ||
         error == WSA_OPERATION_ABORTED || error == WSAENETDOWN;
}

bool IsShortage(int error) {
  return error == WSAEMFILE || error == WSAENOBUFS || error == WSA_NOT_ENOUGH_MEMORY;
}

/// Takes the port of [::1]; INVALID_SOCKET with the last error set.
SOCKET BindLocalhost(std::uint16_t port) {
  const SOCKET socket = ::WSASocketW(AF_INET6, SOCK_STREAM, IPPROTO_TCP, nullptr, 0,
                                     WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
  if (socket == INVALID_SOCKET) return socket;
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr.s6_addr[15] = 1;
  address.sin6_port = ::htons(port);
  if (SetExclusive(socket) &&
      ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    return socket;
  }
  const int error = ::WSAGetLastError();
  ::closesocket(socket);
  ::WSASetLastError(error);
  return INVALID_SOCKET;
}

/// Whether a failure says that this machine has no [::1], for anybody.
bool HasNoLocalhost(int error) {
  return error == WSAEAFNOSUPPORT || error == WSAEADDRNOTAVAIL;
}

std::unexpected<Error> Stopped() {
  return Fail(ErrorKind::kClosed, "the listener was stopped");
}

}  // namespace

Listener::Listener() = default;

Listener::Listener(Listener&& other) noexcept
    : handle_(std::exchange(other.handle_, Socket::kNone)),
      localhost_(std::move(other.localhost_)),
      port_(std::exchange(other.port_, 0)),
      holds_localhost_(other.holds_localhost_),
      waiters_(std::move(other.waiters_)) {}

Listener& Listener::operator=(Listener&& other) noexcept {
  if (this != &other) {
    if (handle_ != Socket::kNone) ::closesocket(handle_);
    handle_ = std::exchange(other.handle_, Socket::kNone);
    localhost_ = std::move(other.localhost_);
    port_ = std::exchange(other.port_, 0);
    holds_localhost_ = other.holds_localhost_;
    waiters_ = std::move(other.waiters_);
  }
  return *this;
}

Listener::~Listener() {
  if (handle_ != Socket::kNone) ::closesocket(handle_);
}

Result<Listener> Listener::listen(std::uint16_t port, bool loopback_only) {
  const SOCKET socket = OpenTcpSocket();
  if (socket == INVALID_SOCKET) return FailStep(ErrorKind::kUnavailable, "open a socket for", port);
  Listener listener;
  listener.handle_ = socket;
  const sockaddr_in address = AddressOf(loopback_only ? INADDR_LOOPBACK : INADDR_ANY, port);
  if (!SetExclusive(socket) ||
      ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return FailStep(ErrorKind::kBusy, "bind", port);
  }
  if (::listen(socket, SOMAXCONN) != 0) return FailStep(ErrorKind::kIo, "listen on", port);
  listener.port_ = BoundPort(socket);
  const SOCKET localhost = BindLocalhost(listener.port_);
  listener.holds_localhost_ = localhost != INVALID_SOCKET || HasNoLocalhost(::WSAGetLastError());
  if (localhost != INVALID_SOCKET) listener.localhost_ = Socket(localhost);
  listener.waiters_ = std::make_unique<Waiters>();
  return listener;
}

Status Listener::expect_requests(Milliseconds receive_timeout, Milliseconds send_timeout) {
  // Nothing is inherited here that could be relied on: accept() sets them on each socket.
  waiters_->receive_timeout = receive_timeout;
  waiters_->send_timeout = send_timeout;
  return {};
}

Result<Listener::Accepted> Listener::accept() {
  if (waiters_ == nullptr) return Stopped();
  const Waiting waiting(waiters_->count);
  while (!waiters_->stopped) {
    sockaddr_in peer{};
    int length = sizeof peer;
    const SOCKET taken = ::accept(handle_, reinterpret_cast<sockaddr*>(&peer), &length);
    if (taken != INVALID_SOCKET) {
      Socket socket(taken);
      if (waiters_->stopped) break;
      static_cast<void>(socket.set_receive_timeout(waiters_->receive_timeout));
      static_cast<void>(socket.set_send_timeout(waiters_->send_timeout));
      ::SetHandleInformation(AsHandle(taken), HANDLE_FLAG_INHERIT, 0);
      return Accepted{std::move(socket), ::ntohl(peer.sin_addr.s_addr)};
    }
    const int error = ::WSAGetLastError();
    if (IsShortage(error)) {
      ::Sleep(kShortagePauseMs);
    } else if (!IsPassing(error)) {
      return FailLastError("accept on", "port " + std::to_string(port_));
    }
  }
  return Stopped();
}

void Listener::stop() {
  if (waiters_ == nullptr) return;
  waiters_->stopped = true;
  // Whoever is not counted yet will see the flag; whoever is either sees it or takes a connection.
  while (const int waiting = waiters_->count) {
    for (int i = 0; i < waiting; ++i) {
      static_cast<void>(Socket::connect_loopback(port_, kWakeTimeout));
    }
    // For a machine whose firewall keeps us from ourselves.
    ::CancelIoEx(AsHandle(handle_), nullptr);
    ::Sleep(1);
  }
}

}  // namespace mrb::platform
