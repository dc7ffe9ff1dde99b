#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mrb::vfs {

/// Bytes written as "2048", "500mb", "1gb": digits and an optional unit b, k, kb, m, mb, g, gb, t,
/// tb of any case, in steps of 1024. Nothing for any other text, or for what passes 64 bits.
[[nodiscard]] std::optional<std::uint64_t> ParseSize(std::string_view text);

/// The size in the largest unit that leaves no rest, as ParseSize() reads it back unchanged.
[[nodiscard]] std::string FormatSize(std::uint64_t bytes);

/// For people: "1 byte", "512 bytes", "1.5 KB", "220.1 MB".
[[nodiscard]] std::string RoundedSize(std::uint64_t bytes);

}  // namespace mrb::vfs
