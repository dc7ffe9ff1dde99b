#pragma once

#include <string>
#include <string_view>

#include "front/engine.h"
#include "front/hand_off.h"

namespace mrb::front {

struct LineOutcome {
  std::string answer;
  bool understood = true;  ///< false: the line has no form the driver knows; the answer says so
};

/// Runs one command line, in whatever form a user types it. A blank line answers nothing.
[[nodiscard]] LineOutcome RunLine(const Engine& engine, std::string_view line);

/// Runs one line in this process and prints its answer; a line that is not understood is told on
/// standard error as well. Returns the exit status: 1 for that and for an answer "ERROR:", else 0.
[[nodiscard]] int RunLineHere(const Engine& engine, std::string_view line);

/// The same for every line of standard input, to its end. 1 when any line's status is.
[[nodiscard]] int RunStdinHere(const Engine& engine, StdinLines& lines);

}  // namespace mrb::front
