#include "chat/outbox.h"

#include <utility>

namespace mrb::chat {

void Outbox::put(Message message) {
  const std::scoped_lock lock(mutex_);
  if (closed_) return;
  bytes_ += message->size();
  queue_.push_back(std::move(message));
  if (bytes_ <= kMaxBytes) return;
  closed_ = true;
  queue_.clear();
}

void Outbox::flush() {
  std::unique_lock lock(mutex_);
  if (sending_) return;
  sending_ = true;
  while (!queue_.empty() && !closed_) {
    const Message message = std::move(queue_.front());
    queue_.pop_front();
    bytes_ -= message->size();
    lock.unlock();
    const bool sent = send_(*message);
    lock.lock();
    closed_ |= !sent;
  }
  sending_ = false;
  changed_.notify_all();
}

void Outbox::close() {
  std::unique_lock lock(mutex_);
  closed_ = true;
  queue_.clear();
  changed_.wait(lock, [this] { return !sending_; });
}

}  // namespace mrb::chat
