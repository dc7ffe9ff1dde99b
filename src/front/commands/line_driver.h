#pragma once

#include <string>
#include <string_view>

#include "front/commands/engine.h"

namespace mrb::front {

struct LineOutcome {
  std::string answer;
  bool understood = true;  ///< false: the line has no form the driver knows; the answer says so
};

/// Runs one command line, in whatever form a user types it. A blank line answers nothing.
[[nodiscard]] LineOutcome RunLine(const Engine& engine, std::string_view line);

}  // namespace mrb::front
