#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "server/http/call_table.h"

namespace mrb::server {

/// The commands that a resident runs for others: each is noted before it begins, and none begins
/// once the resident is ending. Thread-safe.
class RunningCalls {
 public:
  /// Without a table calls are counted only.
  explicit RunningCalls(std::unique_ptr<CallTable> table = nullptr) : table_(std::move(table)) {}
  RunningCalls(const RunningCalls&) = delete;
  RunningCalls& operator=(const RunningCalls&) = delete;

  /// A call, from before it runs until its answer is on its way.
  class Call {
   public:
    Call(RunningCalls& calls, std::string id) : calls_(calls), id_(std::move(id)) {}
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() { calls_.end(id_); }

   private:
    RunningCalls& calls_;
    const std::string id_;
  };

  /// Begins a call; `id` is its client's, empty for one that has none. Null when the resident is
  /// ending: nothing may be done then. The call must not outlive this object.
  [[nodiscard]] std::shared_ptr<const Call> begin(std::string_view id);

  /// Lets nothing begin any more.
  void close();

  /// Whether no call runs within that time.
  [[nodiscard]] bool await_none(std::chrono::milliseconds time);

 private:
  void end(const std::string& id);

  const std::unique_ptr<CallTable> table_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t running_ = 0;  // guarded by mutex_
  bool closed_ = false;      // guarded by mutex_
};

}  // namespace mrb::server
