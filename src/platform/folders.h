#pragma once

#include <string>

namespace mrb::platform {

/// The path against the working directory, when it is not absolute already; `.` and `..` may
/// remain.
[[nodiscard]] std::string AbsolutePath(const std::string& path);

/// Whether `home`, a name in the folder that holds the executable, can be this user's install home.
/// On Linux it can be one that is there, theirs and closed to others; or is missing, where `folder`
/// is theirs or root's and closed to others. Either way they must be able to write into `folder`,
/// which packages put out of reach. On Windows the executable's folder is the place by definition:
/// it only cannot be when `home` is somebody else's.
[[nodiscard]] bool CanInstallInto(const std::string& folder, const std::string& home);

}  // namespace mrb::platform
