#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace mrb::chat {

/// What is on its way to one listener. Whoever puts something in may find itself sending, for
/// others too; nobody waits for a send but the one who does it, and the order stays. Thread-safe.
class Outbox {
 public:
  using Message = std::shared_ptr<const std::string>;

  /// `send` answers false when the listener is gone; it is not called again then.
  explicit Outbox(std::function<bool(std::string_view)> send) : send_(std::move(send)) {}
  Outbox(const Outbox&) = delete;
  Outbox& operator=(const Outbox&) = delete;

  /// Queues without sending; a listener too slow for kMaxBytes gets nothing any more.
  void put(Message message);

  /// Sends what is queued, unless another thread is at it.
  void flush();

  /// Nothing is sent any more once this has returned.
  void close();

 private:
  static constexpr std::size_t kMaxBytes = std::size_t{4} << 20U;

  const std::function<bool(std::string_view)> send_;
  std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_:
  std::deque<Message> queue_;
  std::size_t bytes_ = 0;
  bool sending_ = false;
  bool closed_ = false;
};

}  // namespace mrb::chat
