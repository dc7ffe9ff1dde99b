#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "common/error.h"
#include "platform/posix/child_start.h"
#include "platform/posix/tree_supervisor.h"

namespace mrb::platform {

/// A program in a session of its own, under a supervisor that keeps its whole tree in reach.
/// Thread-safe but for reap().
class ChildProcess {
 public:
  [[nodiscard]] static Result<std::unique_ptr<ChildProcess>> start(const ChildStart& start);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  /// Ends the tree of a child that nobody has reaped; lets go of what a reaped one left behind.
  ~ChildProcess();

  /// Readable once the child has ended. Owned by the child.
  [[nodiscard]] int watch_end() const { return supervisor_.end(); }

  [[nodiscard]] bool has_ended() const { return supervisor_.exit_code().has_value(); }

  /// Whether it ends within that time.
  bool await_end(std::chrono::milliseconds limit) const;

  /// Once: the exit code, 128 + the number of a signal; for a child that could not be ended, as if
  /// it had been killed. Ends a tree whose supervisor was killed, for nobody would watch it.
  std::uint32_t reap();

  /// Sends SIGHUP, and SIGCONT so that a stopped one hears it, to the child's and one more process
  /// group (0: none).
  void hang_up(pid_t group) const;

  /// Kills it and whatever descends from it, and tells who could not be killed. Takes 5 s at most.
  std::vector<pid_t> end_tree() const;

 private:
  ChildProcess(TreeSupervisor supervisor, std::string mark);

  mutable std::mutex mutex_;  // so that nothing is sent to a number that is free again
  TreeSupervisor supervisor_;
  const std::string mark_;
  mutable bool is_over_ = false;  // guarded by mutex_: reaped, or its tree was ended
};

}  // namespace mrb::platform
