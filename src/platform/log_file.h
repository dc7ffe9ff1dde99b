#pragma once

#include <string>

namespace mrb::platform {

/// Renames a log of more than 5 MB to `path` + ".old", over an older one. A log that cannot be
/// renamed goes on growing; that is no reason to run without one.
void SetAsideLargeLog(const std::string& path);

}  // namespace mrb::platform
