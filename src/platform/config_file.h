#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace mrb::platform {

/// The value of `key` in the first of these files that is there: lines "key = value", comments from
/// "#" on. Nothing when it is not set.
[[nodiscard]] std::optional<std::string> ReadSetting(FileSystem& files,
                                                     const std::vector<std::string>& paths,
                                                     std::string_view key);

}  // namespace mrb::platform
