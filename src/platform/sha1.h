#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace mrb::platform {

using Sha1Digest = std::array<std::uint8_t, 20>;

/// SHA-1 (FIPS 180-4, RFC 3174), for the WebSocket handshake only: it protects nothing.
[[nodiscard]] Sha1Digest Sha1(std::string_view bytes);

}  // namespace mrb::platform
