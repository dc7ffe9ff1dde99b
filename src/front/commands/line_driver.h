#pragma once

#include <string>
#include <string_view>

#include "front/commands/engine.h"
#include "platform/shell_command.h"

namespace mrb::front {

struct LineOutcome {
  std::string answer;
  bool understood = true;  ///< false: the line has no form the driver knows; the answer says so
};

/// Runs one command line, in whatever form a user types it. A blank line answers nothing.
[[nodiscard]] LineOutcome RunLine(const Engine& engine, std::string_view line);

/// Runs one line through the system's command interpreter in `folder` (empty: this process's own)
/// and tells what came of it: what it printed, without the line feeds at the end, and a line for an
/// exit code other than 0 or an end by force. It and all it started are ended after 120 s.
[[nodiscard]] std::string RunShell(const std::string& command, const std::string& folder,
                                   const platform::ShellLimits& limits = {});

}  // namespace mrb::front
