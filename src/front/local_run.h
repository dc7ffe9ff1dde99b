#pragma once

#include <string_view>

#include "front/client/console_io.h"
#include "front/commands/engine.h"

namespace mrb::front {

/// Runs one line in this process and prints its answer; a line that is not understood is told on
/// standard error as well. Returns the exit status: 1 for that and for an answer "ERROR:", else 0.
[[nodiscard]] int RunLineHere(const Engine& engine, std::string_view line);

/// Runs every line of standard input like RunLineHere(), to its end. Returns 1 when any of them
/// did.
[[nodiscard]] int RunStdinHere(const Engine& engine, StdinLines& lines);

}  // namespace mrb::front
