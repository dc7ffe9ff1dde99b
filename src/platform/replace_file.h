#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace mrb::platform {

/// Gives `path` the contents `pieces`, one after the other, so that a crash at any instant leaves
/// the old file or the new one, whole: writes `path` + ".tmp", flushes it, renames it over `path`,
/// flushes the folder. On failure the old file is untouched and the temporary one removed, as far
/// as the system still allows; a leftover of an earlier crash is written over.
[[nodiscard]] Status ReplaceFile(FileSystem& files, const std::string& path,
                                 std::span<const std::string_view> pieces);

[[nodiscard]] Status ReplaceFile(FileSystem& files, const std::string& path,
                                 std::string_view contents);

}  // namespace mrb::platform
