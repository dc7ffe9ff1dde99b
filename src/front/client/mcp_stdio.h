#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace mrb::front {

/// MCP over the standard streams: one message a line in, one answer a line out. Messages are
/// answered in their order as long as that is quick; one that takes longer than a moment (a wait
/// for chat, a build in a terminal) no longer holds back those behind it, whose answers then
/// overtake its own.
class McpStdio {
 public:
  /// `answer` makes a message's answer, empty for none; several threads at once.
  explicit McpStdio(std::function<std::string(const std::string&)> answer)
      : answer_(std::move(answer)) {}
  McpStdio(const McpStdio&) = delete;
  McpStdio& operator=(const McpStdio&) = delete;

  /// Until the end of the input, and of the last answer. Once.
  void serve();

 private:
  static constexpr std::size_t kMaxAtOnce = 16;  ///< then the next message waits

  void begin(std::string message);
  void work(const std::string& message);

  const std::function<std::string(const std::string&)> answer_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t working_ = 0;  // guarded by mutex_
  std::size_t done_ = 0;     // guarded by mutex_; messages answered so far
  std::mutex output_;        // whole lines only
};

}  // namespace mrb::front
