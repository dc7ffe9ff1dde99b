#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "common/error.h"

namespace mrb::platform {

[[nodiscard]] bool StdinIsConsole();
[[nodiscard]] bool StdoutIsConsole();
[[nodiscard]] bool StderrIsConsole();

/// Writes all of it now, UTF-8, no translation of line ends into a file or pipe. What cannot be
/// written is lost: there is nobody left to tell.
void WriteStdout(std::string_view text);
void WriteStderr(std::string_view text);

/// The next line of standard input with its line feed (the last may have none); nothing at the end.
/// One thread only.
[[nodiscard]] std::optional<std::string> ReadStdinLine();

/// Waits until ReadStdinLine() has something to read, or its end; false when nothing comes in time.
/// (Of a line that is typed half, or comes in pieces, the rest is then waited for.) The same
/// thread.
[[nodiscard]] bool AwaitStdin(std::chrono::milliseconds wait);

/// Leaves the caller's console for good. On Windows a new, hidden one takes its place (children
/// that need a console get that); elsewhere a new session is begun and the standard streams go to
/// `log_path` (input: nothing). A log of more than 5 MB is first renamed to `log_path` + ".old".
[[nodiscard]] Status DetachConsole(const std::string& log_path);

}  // namespace mrb::platform
