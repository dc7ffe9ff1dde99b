#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "common/error.h"
#include "platform/pseudo_console.h"

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

/// After DetachConsole(), once: tells whoever started this process how that went, on the standard
/// error that was left behind. A shell that waits goes on now; its status is 1 when there is a
/// complaint. A process that ends without a word counts as one that failed.
void ReportStart(std::string_view complaint);

/// The size of the console that standard output is; nothing when it is none.
[[nodiscard]] std::optional<ConsoleSize> StdoutConsoleSize();

/// The console's user key by key, for as long as this lives: no echo, no line editing, Ctrl-C and
/// the like are keys too. Before and after, the console is as it was. One at a time, one thread.
class RawConsole {
 public:
  /// kUnavailable when standard input or output is no console.
  [[nodiscard]] static Result<RawConsole> enter();
  RawConsole(RawConsole&& other) noexcept;
  RawConsole& operator=(RawConsole&&) = delete;
  ~RawConsole();

  /// The keys that come within the time, in the sequences that a terminal sends; empty when none
  /// do, nothing once the console is gone.
  [[nodiscard]] std::optional<std::string> keys(std::chrono::milliseconds wait);

 private:
  struct Modes;
  explicit RawConsole(std::unique_ptr<Modes> modes);

  std::unique_ptr<Modes> modes_;  // how the console was
};

}  // namespace mrb::platform
