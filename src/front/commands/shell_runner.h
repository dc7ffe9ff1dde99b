#pragma once

#include <string>

#include "platform/shell_command.h"

namespace mrb::front {

/// Runs one line through the system's command interpreter in `folder` (empty: this process's own)
/// and tells what came of it: what it printed, without the line feeds at the end, and a line for an
/// exit code other than 0 or an end by force. It and all it started are ended after 120 s.
[[nodiscard]] std::string RunShell(const std::string& command, const std::string& folder,
                                   const platform::ShellLimits& limits = {});

}  // namespace mrb::front
