#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "common/error.h"
#include "platform/pseudo_console.h"

namespace mrb::platform {

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
