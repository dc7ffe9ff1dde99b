#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/sockets.h"

namespace mrb::server {

/// Answered connections that wait for their peer to close first: closing over bytes that it still
/// sends would reset the connection, and the reset can overtake the answer. Nobody waits here for
/// one peer: each add() looks at the oldest, whose peer has nearly always closed by then, and a
/// thread of its own sees to those that take longer. Thread-safe.
class LingeringCloser {
 public:
  LingeringCloser();
  LingeringCloser(const LingeringCloser&) = delete;
  LingeringCloser& operator=(const LingeringCloser&) = delete;
  /// Closes whatever is left, at once.
  ~LingeringCloser();

  /// Takes a socket whose sending side has been shut down, and closes it once the peer has closed,
  /// or has been silent, or talking, for too long.
  void add(platform::Socket socket);

 private:
  using Clock = std::chrono::steady_clock;
  struct Leaving {
    platform::Socket socket;
    Clock::time_point since;
    Clock::time_point last_heard;
  };

  /// Discards what has arrived; true when the socket may be closed.
  [[nodiscard]] static bool is_done(Leaving& leaving, Clock::time_point now);
  void sweep_until_stopped();
  void sweep();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Leaving> recent_;  // guarded by mutex_; oldest first
  std::vector<Leaving> slow_;   // guarded by mutex_; looked at once while recent, and not done
  bool sleeping_ = false;       // guarded by mutex_; the thread waits for an add()
  bool stopping_ = false;       // guarded by mutex_
  std::thread sweeper_;
};

}  // namespace mrb::server
