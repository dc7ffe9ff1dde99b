#include "server/connection_threads.h"

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
    if (!begin(socket)) break;
    const bool answered = hooks_.serve(socket, accepted->peer_ipv4, buffers);
    forget(socket);
    if (answered) leaving_.add(std::move(socket));
    if (!finish(permanent)) return;
  }
  // Notified under the lock: run() returns, and this object goes, only once it is released.
  const std::scoped_lock lock(mutex_);
  --idle_;
  --threads_;
  ended_.notify_all();
}

/// False when the server has been stopped meanwhile.
bool ConnectionThreads::begin(platform::Socket& socket) {
  {
    const std::scoped_lock lock(mutex_);
    if (stopping_) return false;
    open_.push_back(&socket);
    --idle_;
    if (idle_ > 0 || threads_ >= limits_.connections) return true;
    ++threads_;
    ++idle_;
  }
  start_another();
  return true;
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

void ConnectionThreads::forget(platform::Socket& socket) {
  const std::scoped_lock lock(mutex_);
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

bool StartDetachedThread(std::function<void()> body) {
  try {
    std::thread(std::move(body)).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace mrb::server
