#include "platform/shell_command.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/posix/child_process.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/system_error.h"

namespace mrb::platform {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// For what those wrote who cannot be ended.
constexpr milliseconds kLastOutput{20};

/// How long it may take until a command is ended that is told to stop.
constexpr milliseconds kStopLook{50};

class Run {
 public:
  Run(Descriptor pipe, ChildProcess& child, std::size_t limit)
      : pipe_(std::move(pipe)), child_(child), limit_(limit) {}

  /// Collects output until the child has ended (true) or the time is over.
  bool until_ended(milliseconds time, const std::atomic<bool>* stop = nullptr) {
    const auto deadline = Clock::now() + time;
    for (;;) {
      if (stop != nullptr && *stop) return false;
      if (child_.has_ended()) return true;
      const auto until = stop == nullptr ? deadline : std::min(deadline, Clock::now() + kStopLook);
      if (!step(until, child_.watch_end()) && Clock::now() >= deadline) return false;
    }
  }

  /// Collects until everybody has closed the pipe or the time is over.
  void until_closed(milliseconds time) {
    const auto deadline = Clock::now() + time;
    while (pipe_ && step(deadline, -1)) continue;
  }

  ShellOutcome outcome;

 private:
  /// Waits for output or for `other`; false after the deadline.
  bool step(Clock::time_point deadline, int other) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    std::array<pollfd, 2> waits{{{pipe_ ? pipe_.get() : -1, POLLIN, 0}, {other, POLLIN, 0}}};
    ::poll(waits.data(), waits.size(), static_cast<int>(left.count()));
    if (waits[0].revents != 0) take();
    return true;
  }

  void take() {
    std::array<char, 65536> piece;  // NOLINT: filled by the system
    const auto got = ::read(pipe_.get(), piece.data(), piece.size());
    if (got > 0) {
      const auto room = limit_ - outcome.output.size();
      const auto size = static_cast<std::size_t>(got);
      outcome.output.append(piece.data(), std::min(size, room));
      outcome.cut |= size > room;
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
      pipe_.reset(-1);
    }
  }

  Descriptor pipe_;  // closed at end of file
  ChildProcess& child_;
  const std::size_t limit_;
};

}  // namespace

Result<ShellOutcome> RunShellCommand(const std::string& command, const std::string& folder,
                                     const ShellLimits& limits) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    Error error = SystemError(errno, "make", "a pipe");
    error.kind = ErrorKind::kUnavailable;
    return std::unexpected(std::move(error));
  }
  Descriptor read_end(ends[0]);
  Descriptor write_end(ends[1]);
  ::fcntl(read_end.get(), F_SETFL, O_NONBLOCK);
  auto child = ChildProcess::start(
      {.arguments = {"/bin/sh", "-c", command}, .folder = folder, .output = write_end.get()});
  if (!child) {
    if (child.error().kind == ErrorKind::kUnavailable) child.error().kind = ErrorKind::kIo;
    return std::unexpected(std::move(child.error()));
  }
  write_end.reset(-1);  // or the pipe would never end
  Run run(std::move(read_end), **child, limits.output);
  if (!run.until_ended(limits.run, limits.stop)) {
    run.outcome.stopped = limits.stop != nullptr && *limits.stop;
    run.outcome.killed = !run.outcome.stopped;
    const std::vector<pid_t> left = (*child)->end_tree();
    run.outcome.left.assign(left.begin(), left.end());
    static_cast<void>(run.until_ended(left.empty() ? limits.end : kLastOutput));
  }
  // Who is left may hold the pipe for long.
  run.until_closed(run.outcome.left.empty() ? limits.drain : kLastOutput);
  run.outcome.exit_code = (*child)->reap();
  return std::move(run.outcome);
}

}  // namespace mrb::platform
