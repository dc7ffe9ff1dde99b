#pragma once

#include <string>

namespace mrb::platform {

/// The path against the working directory, when it is not absolute already; `.` and `..` may
/// remain.
[[nodiscard]] std::string AbsolutePath(const std::string& path);

/// Whether files may be kept in a folder that holds the executable. A packaged install on Linux
/// lies where users may not write; on Windows the executable's folder is the place by definition.
[[nodiscard]] bool CanInstallInto(const std::string& folder);

}  // namespace mrb::platform
