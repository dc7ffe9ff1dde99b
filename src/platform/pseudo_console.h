#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"

namespace mrb::platform {

struct ConsoleSize {
  std::uint16_t columns = 120;
  std::uint16_t rows = 30;

  bool operator==(const ConsoleSize&) const = default;
};

struct ConsoleEnd {
  std::uint32_t exit_code = 0;      ///< the program's
  std::vector<std::uint32_t> left;  ///< numbers of processes that end() could not end
};

/// A program on a terminal of its own, driven through it. One thread reads until the end, which
/// comes by itself when the program ends; any thread may write, resize and end it meanwhile.
///
///     auto console = OpenPseudoConsole({.command_line = "bash -i"});
///     while (auto got = (*console)->read(buffer, sizeof buffer)) { if (*got == 0) break; … }
///     code = (*console)->wait_for_exit().exit_code;
class PseudoConsole {
 public:
  PseudoConsole() = default;
  PseudoConsole(const PseudoConsole&) = delete;
  PseudoConsole& operator=(const PseudoConsole&) = delete;
  /// Nobody may be reading any more. What is left of the program and its children is ended.
  virtual ~PseudoConsole() = default;

  /// Waits for output: at least one byte, or 0 once the program is gone and all it wrote was read.
  [[nodiscard]] virtual Result<std::size_t> read(char* out, std::size_t bytes) = 0;

  /// After read() answered 0 or failed, by the same thread: how it ended. A program that let go of
  /// its terminal but runs on is ended after a short while. Returns within some seconds, whatever
  /// the program does.
  [[nodiscard]] virtual ConsoleEnd wait_for_exit() = 0;

  /// Types all of it. Writes of several threads do not mix. kTimedOut when the program has not
  /// taken it within some seconds (a part may have been), kClosed once end() was called.
  [[nodiscard]] virtual Status write(std::string_view keys) = 0;

  [[nodiscard]] virtual Status resize(ConsoleSize size) = 0;

  /// Hangs up, gives the program half a second to leave, then ends it with everything it started.
  /// read() answers 0 soon after, whoever may still hold the terminal.
  virtual void end() = 0;
};

struct ConsoleStart {
  /// On Windows as the system splits it; elsewhere as a shell would, and run by /bin/sh when it
  /// holds what only a shell understands.
  std::string command_line;
  std::string folder;  ///< working directory; the user's home when empty
  ConsoleSize size;
};

/// Starts a program on a new terminal. The error says what could not be made or started and why; it
/// names the program, not its arguments.
[[nodiscard]] Result<std::unique_ptr<PseudoConsole>> OpenPseudoConsole(const ConsoleStart& start);

}  // namespace mrb::platform
