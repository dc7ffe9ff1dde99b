#pragma once

#include <string_view>

#include "platform/windows/handle.h"

namespace mrb::platform {

/// From now on what would go to standard output and error goes to `log` instead. The standard
/// handles stay those of the console, because children are given them.
void SendOutputToLog(Handle log);

}  // namespace mrb::platform
