#pragma once

#include <string_view>

#include "platform/windows/handle.h"

namespace mrb::platform {

/// From now on what would go to standard output and error goes to `log` instead. The standard
/// handles stay those of the console, because children are given them.
void SendOutputToLog(Handle log);

/// Whether that was done: the process then has a console of its own.
[[nodiscard]] bool HasOwnConsole();

}  // namespace mrb::platform
