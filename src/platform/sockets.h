#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "common/error.h"

namespace mrb::platform {

using Milliseconds = std::chrono::milliseconds;

/// Prepares the system's socket library, once per process; later calls are free and answer the
/// same. Also keeps a write to a closed socket from ending the process. Thread-safe.
[[nodiscard]] Status StartSockets();

/// One connected TCP socket; closed on destruction. One thread may send while another receives.
class Socket {
 public:
  Socket() = default;
  Socket(Socket&& other) noexcept;
  Socket& operator=(Socket&& other) noexcept;
  ~Socket();

  /// Connects to 127.0.0.1. A zero time-out means none; they apply to each later send and receive.
  [[nodiscard]] static Result<Socket> connect_loopback(std::uint16_t port, Milliseconds timeout) {
    return connect(kLoopback, port, timeout);
  }

  /// Connects to any IPv4 address, given in host byte order; time-outs as above.
  [[nodiscard]] static Result<Socket> connect(std::uint32_t ipv4, std::uint16_t port,
                                              Milliseconds timeout);

  static constexpr std::uint32_t kLoopback = 0x7F000001;

  [[nodiscard]] bool is_open() const { return handle_ != kNone; }

  /// The system's own handle; stays owned by the socket.
  [[nodiscard]] std::uintptr_t native_handle() const { return handle_; }

  [[nodiscard]] Status set_receive_timeout(Milliseconds timeout);
  [[nodiscard]] Status set_send_timeout(Milliseconds timeout);
  [[nodiscard]] Status set_no_delay();

  /// Receives at most `bytes`; 0 when the peer has ended its side. kTimedOut after the time-out.
  [[nodiscard]] Result<std::size_t> receive(char* out, std::size_t bytes);

  /// Receives what has arrived already, without waiting: as receive(), and kTimedOut when nothing
  /// has.
  [[nodiscard]] Result<std::size_t> receive_arrived(char* out, std::size_t bytes);

  /// Sends a part of `bytes`; how much is answered.
  [[nodiscard]] Result<std::size_t> send(std::string_view bytes);

  /// Sends until every byte is written. kTimedOut once the peer has taken nothing for the send
  /// time-out, however long the whole takes.
  [[nodiscard]] Status send_all(std::string_view bytes);

  /// Ends the sending side; the peer reads end of file after what was sent.
  void shutdown_send();

  /// Makes the close drop what the peer has not taken yet, and reset the connection: otherwise the
  /// system would go on offering it.
  void reset_on_close();

  /// Ends both sides: a thread blocked in receive() returns. The handle stays until destruction.
  void shutdown_both();

 private:
  friend class Listener;
  using Native = std::uintptr_t;
  static constexpr Native kNone = ~Native{0};

  explicit Socket(Native handle) : handle_(handle) {}
  void close() noexcept;

  Native handle_ = kNone;
};

/// A listening TCP socket. accept() may be called by several threads at once.
class Listener {
 public:
  struct Accepted {
    Socket socket;
    std::uint32_t peer_ipv4 = 0;  ///< host byte order: 127.0.0.1 is 0x7F000001
  };

  Listener();
  Listener(Listener&& other) noexcept;
  Listener& operator=(Listener&& other) noexcept;
  ~Listener();

  /// Binds all IPv4 interfaces (or loopback only) and listens with the system's largest backlog.
  /// No other process can listen on the port meanwhile. Port 0 takes a free one. The kind of a
  /// failure tells its step: kUnavailable no socket, kBusy no binding (the port is in use, or not
  /// allowed), kIo no listening.
  [[nodiscard]] static Result<Listener> listen(std::uint16_t port, bool loopback_only);

  /// For protocols in which the client speaks first: sockets are accepted with these time-outs in
  /// force, and, where the system can wait for it, not before their first bytes came or about a
  /// second has passed. Before the first accept().
  [[nodiscard]] Status expect_requests(Milliseconds receive_timeout, Milliseconds send_timeout);

  [[nodiscard]] std::uint16_t port() const { return port_; }

  /// Whether no other program can listen at [::1] and the port, which a browser may try first for
  /// "localhost". Nobody listens there: the port is only taken, so that such a try is refused.
  [[nodiscard]] bool holds_localhost() const { return holds_localhost_; }

  /// Waits for the next connection. kClosed after stop().
  [[nodiscard]] Result<Accepted> accept();

  /// Makes every waiting and later accept() answer kClosed. Any thread.
  void stop();

 private:
  struct Waiters;  // who waits in accept(), on a system where stop() has to wake them one by one

  Socket::Native handle_ = Socket::kNone;
  Socket localhost_;  // bound to [::1]
  std::uint16_t port_ = 0;
  bool holds_localhost_ = false;
  std::unique_ptr<Waiters> waiters_;
};

}  // namespace mrb::platform
