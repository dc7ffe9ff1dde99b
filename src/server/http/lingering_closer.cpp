#include "server/http/lingering_closer.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <utility>

namespace mrb::server {
namespace {

constexpr std::chrono::seconds kMaxSilence{2};
constexpr std::chrono::seconds kMaxFarewell{10};  // however steadily a peer drips bytes
constexpr std::chrono::milliseconds kSweepInterval{20};

constexpr std::size_t kPiece = 512;
// Enough that a peer has had its turn before its socket is looked at, few enough to stay cheap.
constexpr std::size_t kRecent = 16;
// Past these the oldest is closed as it is, so that a flood cannot use up the handles.
constexpr std::size_t kMaxSlow = 1024;

}  // namespace

LingeringCloser::LingeringCloser() : sweeper_([this] { sweep_until_stopped(); }) {}

LingeringCloser::~LingeringCloser() {
  {
    const std::scoped_lock lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  sweeper_.join();
}

void LingeringCloser::add(platform::Socket socket) {
  const auto now = Clock::now();
  std::optional<Leaving> oldest;
  {
    const std::scoped_lock lock(mutex_);
    recent_.push_back({std::move(socket), now, now});
    if (recent_.size() > kRecent) {
      oldest = std::move(recent_.front());
      recent_.pop_front();
    }
    if (std::exchange(sleeping_, false)) changed_.notify_one();
  }
  if (!oldest || is_done(*oldest, now)) return;
  const std::scoped_lock lock(mutex_);
  if (slow_.size() >= kMaxSlow) slow_.erase(slow_.begin());
  slow_.push_back(*std::move(oldest));
}

bool LingeringCloser::is_done(Leaving& leaving, Clock::time_point now) {
  std::array<char, kPiece> piece;  // NOLINT: filled by the system, no need to clear it first
  const auto received = leaving.socket.receive_arrived(piece.data(), piece.size());
  if (!received && received.error().kind != ErrorKind::kTimedOut) return true;
  if (received && *received == 0) return true;
  if (received) leaving.last_heard = now;
  return now - leaving.last_heard > kMaxSilence || now - leaving.since > kMaxFarewell;
}

void LingeringCloser::sweep_until_stopped() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    if (recent_.empty() && slow_.empty()) {
      sleeping_ = true;
      changed_.wait(lock, [this] { return stopping_ || !sleeping_; });
    }
    changed_.wait_for(lock, kSweepInterval, [this] { return stopping_; });
    lock.unlock();
    sweep();
    lock.lock();
  }
}

void LingeringCloser::sweep() {
  std::vector<Leaving> waiting;
  {
    const std::scoped_lock lock(mutex_);
    waiting.swap(slow_);
    std::ranges::move(recent_, std::back_inserter(waiting));
    recent_.clear();
  }
  const auto now = Clock::now();
  std::erase_if(waiting, [now](Leaving& leaving) { return is_done(leaving, now); });
  const std::scoped_lock lock(mutex_);
  std::ranges::move(slow_, std::back_inserter(waiting));
  slow_.swap(waiting);
}

}  // namespace mrb::server
