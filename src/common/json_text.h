#pragma once

#include <string>
#include <string_view>

namespace mrb {

/// Appends `text` as the inside of a JSON string (RFC 8259). Quote, backslash and control
/// characters are escaped; valid UTF-8 goes out as it is; each byte that is not part of a valid
/// sequence becomes U+FFFD, so the result is valid JSON whatever the bytes were.
void AppendJsonEscaped(std::string& out, std::string_view text);

/// The same with the quotes around it.
[[nodiscard]] std::string JsonString(std::string_view text);

}  // namespace mrb
