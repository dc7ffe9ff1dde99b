#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "common/error.h"

namespace mrb::platform {

struct ShellLimits {
  std::chrono::milliseconds run{120'000};  ///< then the command is ended with all it started
  std::chrono::milliseconds end{5'000};    ///< how long its end is waited for after that
  std::chrono::milliseconds drain{1'000};  ///< for output that others still write after its end
  std::size_t output = std::size_t{64} << 20U;  ///< bytes kept; what comes after them is dropped
  const std::atomic<bool>* stop =
      nullptr;  ///< becomes true when all commands are to end; may be null
};

struct ShellOutcome {
  std::string output;               ///< standard output and error, as they were written
  std::uint32_t exit_code = 0;      ///< 128 + the signal's number for one ended by a signal
  bool killed = false;              ///< ran into ShellLimits::run
  bool stopped = false;             ///< ended because of ShellLimits::stop
  bool cut = false;                 ///< wrote more than ShellLimits::output
  std::vector<std::uint32_t> left;  ///< numbers of processes of it that could not be ended
};

/// Runs one line through the system's command interpreter, with an empty standard input and no
/// console, in `folder` (empty: this process's own). Always returns, at most the three times above
/// later. A command that has to be ended is ended with all that it started, in whatever session.
/// Errors: kUnavailable when no pipe could be made, any other with the system's number when the
/// interpreter could not be started. Thread-safe.
[[nodiscard]] Result<ShellOutcome> RunShellCommand(const std::string& command,
                                                   const std::string& folder,
                                                   const ShellLimits& limits = {});

}  // namespace mrb::platform
