#include "front/client/work_queue.h"

#include <utility>

namespace mrb::front {

WorkQueue::WorkQueue() : thread_([this] { run(); }) {}

WorkQueue::~WorkQueue() {
  {
    const std::scoped_lock lock(mutex_);
    is_over_ = true;
    changed_.notify_all();
  }
  thread_.join();
}

void WorkQueue::add(Work work) {
  const std::scoped_lock lock(mutex_);
  works_.push_back(std::move(work));
  changed_.notify_all();
}

bool WorkQueue::has_failed() {
  const std::scoped_lock lock(mutex_);
  return failed_;
}

bool WorkQueue::await_done(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, limit, [this] { return is_done(); });
}

void WorkQueue::await_done() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return is_done(); });
}

void WorkQueue::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return is_over_ || (!failed_ && !works_.empty()); });
    if (is_over_) return;
    const Work work = std::move(works_.front());
    works_.pop_front();
    is_busy_ = true;
    lock.unlock();
    const bool goes_on = work();
    lock.lock();
    is_busy_ = false;
    failed_ = !goes_on;
    changed_.notify_all();
  }
}

}  // namespace mrb::front
