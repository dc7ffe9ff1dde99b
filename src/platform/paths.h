#pragma once

#include <string>
#include <string_view>

namespace mrb::platform {

/// How a system writes its paths. Every function here knows both; the caller's system is the
/// default.
enum class PathStyle {
  kPosix,    ///< "/" alone separates; a "\\" is a character of a name
  kWindows,  ///< both "/" and "\\" separate, "\\" is written
};

[[nodiscard]] PathStyle SystemPathStyle();

/// The separator of paths that leave the program.
[[nodiscard]] char PathSeparator(PathStyle style = SystemPathStyle());

/// `folder` + separator + `name`; `name` alone when the folder is empty.
[[nodiscard]] std::string JoinPath(std::string_view folder, std::string_view name,
                                   PathStyle style = SystemPathStyle());

/// Whether the path starts at a root, so that no working directory is needed to find it.
[[nodiscard]] bool IsAbsolutePath(std::string_view path, PathStyle style = SystemPathStyle());

/// The path up to, not including, its last separator; "." when it holds none. Both "/" and "\"
/// count on Windows, "/" alone elsewhere. The folder of a root's child is the root, with its
/// separator.
[[nodiscard]] std::string ParentPath(std::string_view path, PathStyle style = SystemPathStyle());

/// With "/" turned into the system's separator.
[[nodiscard]] std::string NativePath(std::string_view path, PathStyle style = SystemPathStyle());

}  // namespace mrb::platform
