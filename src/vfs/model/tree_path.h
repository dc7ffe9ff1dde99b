#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/paths.h"

namespace mrb::vfs {

/// Paths as users type them. Pure: nothing is looked up on the disk.

[[nodiscard]] bool IsAbsolutePath(std::string_view path,
                                  platform::PathStyle style = platform::SystemPathStyle());

/// The absolute path without "." and "..", doubled separators and a separator at its end, in the
/// system's form. Nothing when ".." climbs past the root.
[[nodiscard]] std::optional<std::string> NormalPath(
    std::string_view absolute, platform::PathStyle style = platform::SystemPathStyle());

/// A path below a root, with "/" and without "." and ".."; nothing when it leaves the root.
[[nodiscard]] std::optional<std::string> NormalRelative(
    std::string_view relative, platform::PathStyle style = platform::SystemPathStyle());

/// The part of a normal absolute path below a normal root, with "/"; "" for the root itself;
/// nothing when it lies elsewhere.
[[nodiscard]] std::optional<std::string> BelowRoot(
    std::string_view path, std::string_view root,
    platform::PathStyle style = platform::SystemPathStyle());

}  // namespace mrb::vfs
