#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mrb {

/// Bytes of the JSON string at the start of `text`, quotes included; 0 when it is not one: no quote
/// at either end, an unknown or cut escape, or a control character inside.
[[nodiscard]] std::size_t JsonStringLength(std::string_view text);

/// What a string that JsonStringLength() accepted stands for, as valid UTF-8: a surrogate without
/// its other half and each byte that is not UTF-8 become U+FFFD.
[[nodiscard]] std::string DecodeJsonString(std::string_view quoted);

}  // namespace mrb
