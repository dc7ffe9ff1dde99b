#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace mrb::front {

/// Does one thing after the other on a thread of its own, so that who asks for them is never held
/// up. Used by one thread.
class WorkQueue {
 public:
  /// Whether the ones behind it are to be done too.
  using Work = std::function<bool()>;

  WorkQueue();
  WorkQueue(const WorkQueue&) = delete;
  WorkQueue& operator=(const WorkQueue&) = delete;
  /// Waits for the work that is being done; what is behind it is dropped.
  ~WorkQueue();

  void add(Work work);

  /// Whether some work said that nothing more is to be done.
  [[nodiscard]] bool has_failed();

  /// Whether all of it is done within that time, or for as long as it takes.
  bool await_done(std::chrono::milliseconds limit);
  void await_done();

 private:
  void run();
  [[nodiscard]] bool is_done() const { return failed_ || (works_.empty() && !is_busy_); }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Work> works_;  // this and the following: guarded by mutex_
  bool is_busy_ = false;
  bool failed_ = false;
  bool is_over_ = false;
  std::thread thread_;  // last: it uses all of them
};

}  // namespace mrb::front
