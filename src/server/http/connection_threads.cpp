#include "server/http/connection_threads.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace mrb::server {
namespace {

// An accept() that keeps failing must not keep a core busy.
constexpr std::chrono::milliseconds kAcceptPause{20};

}  // namespace

ConnectionThreads::ConnectionThreads(platform::Listener& listener, Limits limits, Hooks hooks)
    : listener_(listener), limits_(limits), hooks_(std::move(hooks)) {
  open_.reserve(limits_.connections);
}

void ConnectionThreads::run() {
  {
    const std::scoped_lock lock(mutex_);
    threads_ = idle_ = 1;
  }
  work(true);
  std::unique_lock lock(mutex_);
  ended_.wait(lock, [this] { return threads_ == 0; });
}

void ConnectionThreads::stop() {
  {
    const std::scoped_lock lock(mutex_);
    stopping_ = true;
    for (platform::Socket* socket : open_) socket->shutdown_both();
  }
  listener_.stop();
}

void ConnectionThreads::work(bool permanent) {
  ConnectionBuffers buffers;
  for (;;) {
    auto accepted = listener_.accept();
    if (!accepted) {
      if (accepted.error().kind == ErrorKind::kClosed) break;
      std::this_thread::sleep_for(kAcceptPause);
      continue;
    }
    platform::Socket& socket = accepted->socket;
    const bool outside = hooks_.is_outside(socket, accepted->peer_ipv4, is_crowded());
    const Entry entry = begin(socket, outside);
    if (entry == Entry::kStopped) break;
    if (entry == Entry::kTurnAway) {
      socket.reset_on_close();
      continue;
    }
    const bool answered = hooks_.serve(socket, outside, buffers);
    forget(socket, outside);
    if (answered) leaving_.add(std::move(socket));
    if (!finish(permanent)) return;
  }
  // Notified under the lock: run() returns, and this object goes, only once it is released.
  const std::scoped_lock lock(mutex_);
  --idle_;
  --threads_;
  ended_.notify_all();
}

bool ConnectionThreads::is_crowded() {
  const std::scoped_lock lock(mutex_);
  return open_.size() >= limits_.connections / 2;
}

ConnectionThreads::Entry ConnectionThreads::begin(platform::Socket& socket, bool outside) {
  {
    const std::scoped_lock lock(mutex_);
    if (stopping_) return Entry::kStopped;
    if (outside && outside_ >= limits_.outside) return Entry::kTurnAway;
    if (outside) ++outside_;
    open_.push_back(&socket);
    --idle_;
    if (idle_ > 0 || threads_ >= limits_.connections) return Entry::kServe;
    ++threads_;
    ++idle_;
  }
  start_another();
  return Entry::kServe;
}

void ConnectionThreads::start_another() {
  if (hooks_.start_thread([this] { work(false); })) return;
  bool last = false;
  {
    const std::scoped_lock lock(mutex_);
    --threads_;
    --idle_;
    last = threads_ == 1;
    ended_.notify_all();
  }
  hooks_.start_failed(last);
}

void ConnectionThreads::forget(platform::Socket& socket, bool outside) {
  const std::scoped_lock lock(mutex_);
  if (outside) --outside_;
  std::erase(open_, &socket);
}

/// False when the thread is to end; it no longer counts then, and this may be gone.
bool ConnectionThreads::finish(bool permanent) {
  const std::scoped_lock lock(mutex_);
  if (stopping_ || (!permanent && idle_ >= limits_.idle)) {
    --threads_;
    ended_.notify_all();
    return false;
  }
  ++idle_;
  return true;
}

}  // namespace mrb::server
