#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace mrb {

/// Base64 with the standard alphabet and padding (RFC 4648, section 4).
[[nodiscard]] std::string EncodeBase64(std::span<const std::uint8_t> bytes);

}  // namespace mrb
