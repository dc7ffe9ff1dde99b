#pragma once

#include <string_view>

namespace mrb::server {

/// Whether a name from outside is one plain entry of a folder on every system this runs on: 1 to
/// 255 bytes of valid UTF-8, no separator of either kind, no colon (drives, streams), no control
/// character, neither "." nor "..", no blank or dot at the end (Windows drops those), none of
/// Windows' device names with or without an extension.
[[nodiscard]] bool IsPlainName(std::string_view name);

}  // namespace mrb::server
