#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

#include "platform/sockets.h"
#include "server/http/lingering_closer.h"
#include "server/http/request_reader.h"

namespace mrb::server {

/// A thread for every open connection, without the price of starting one each time: idle threads
/// wait in accept() themselves, and the one that accepts serves. Before it does, it sees to it that
/// another waits; when it is done it goes back to waiting, or ends when enough others do. At the
/// bound on open connections nobody is left to accept, so further ones wait in the system's queue.
/// Peers from outside have a bound of their own, far below: the user's own always find a place.
class ConnectionThreads {
 public:
  struct Limits {
    std::size_t connections = 512;  ///< open at once, so that a flood cannot exhaust threads
    std::size_t outside = 32;       ///< of these, from outside; further ones are closed at once
    std::size_t idle = 16;  ///< threads kept waiting: fewer, and eight busy clients churn them
  };
  struct Hooks {
    /// Whether the peer counts as one from outside. `crowded`: places are scarce, so that it is
    /// worth a look whose program a peer on this machine is.
    std::function<bool(const platform::Socket&, std::uint32_t peer_ipv4, bool crowded)> is_outside;
    /// True when the connection ended with an answer, its sending side shut down.
    std::function<bool(platform::Socket&, bool outside, ConnectionBuffers&)> serve;
    /// Runs the function on a new detached thread; false when the system has none to give. Real
    /// servers pass StartDetachedThread().
    std::function<bool(std::function<void()>)> start_thread;
    /// A thread could not be started. `last`: while this one serves, nobody accepts or ever will.
    std::function<void(bool last)> start_failed;
  };

  /// The listener outlives this.
  ConnectionThreads(platform::Listener& listener, Limits limits, Hooks hooks);

  /// Accepts and serves, on the calling thread too, until stop(). Returns when every other thread
  /// has ended its work. Once.
  void run();

  /// Ends the accepting and shuts open connections down. Does not wait for them. Any
  /// thread.
  void stop();

 private:
  void work(bool permanent);
  enum class Entry { kServe, kTurnAway, kStopped };

  bool is_crowded();
  Entry begin(platform::Socket& socket, bool outside);
  void forget(platform::Socket& socket, bool outside);
  bool finish(bool permanent);
  void start_another();

  platform::Listener& listener_;
  const Limits limits_;
  const Hooks hooks_;
  LingeringCloser leaving_;
  std::mutex mutex_;
  std::condition_variable ended_;
  // All guarded by mutex_:
  bool stopping_ = false;
  std::size_t threads_ = 0;  ///< run()'s own and those being started included
  std::size_t idle_ = 0;     ///< of these, the ones that wait in accept() or are on the way there
  std::size_t outside_ = 0;  ///< of the open connections
  std::vector<platform::Socket*> open_;
};

}  // namespace mrb::server
