#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "common/error.h"
#include "platform/posix/descriptor.h"

namespace mrb::platform {

struct ChildStart {
  std::vector<std::string> arguments;  ///< the program first, looked for on PATH; not empty
  std::string folder;                  ///< empty: this process's own
  std::string terminal;  ///< a terminal's path: its three streams, and its controlling terminal
  int output = -1;       ///< without one: where both outputs go; its input is empty
};

/// A child in a session of its own, with none of this process's descriptors and all signals as the
/// system has them. It does not wait for anything to be copied, however large this process is.
/// Thread-safe but for reap().
class ChildProcess {
 public:
  [[nodiscard]] static Result<std::unique_ptr<ChildProcess>> start(const ChildStart& start);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  /// Ends and reaps a child that nobody has reaped.
  ~ChildProcess();

  /// Readable once the child has ended; none where the system has no such thing.
  [[nodiscard]] Descriptor watch_end() const;

  [[nodiscard]] bool has_ended() const;

  /// Whether it ends within that time; without a limit it is waited for.
  bool await_end(std::optional<std::chrono::milliseconds> limit) const;

  /// Once, after await_end() was true: the exit code, 128 + the number of a signal.
  std::uint32_t reap();

  /// Sends SIGHUP, and SIGCONT so that a stopped one hears it, to the child's and one more process
  /// group (0: none).
  void hang_up(pid_t group) const;

  /// Kills it and whatever descends from it.
  void end_tree() const;

 private:
  ChildProcess(pid_t id, std::string mark);

  mutable std::mutex mutex_;  // so that nothing is sent to a number that is free again
  pid_t id_;                  // guarded by mutex_; 0 once reaped
  const std::string mark_;
};

/// This process's environment without the names given, for a program that is to be started.
[[nodiscard]] std::vector<std::string> EnvironmentWithout(
    const std::vector<std::string_view>& names);

/// Pointers to the texts, ended by a null pointer. Valid as long as they.
[[nodiscard]] std::vector<char*> NullEnded(const std::vector<std::string>& texts);

}  // namespace mrb::platform
