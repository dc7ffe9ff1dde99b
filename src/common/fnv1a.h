#pragma once

#include <cstdint>
#include <string_view>

namespace mrb {

/// 64-bit FNV-1a (Fowler, Noll, Vo; draft-eastlake-fnv).
[[nodiscard]] constexpr std::uint64_t Fnv1a(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
  }
  return hash;
}

/// 32-bit FNV-1a.
[[nodiscard]] constexpr std::uint32_t Fnv1a32(std::string_view text) {
  std::uint32_t hash = 0x811c9dc5U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x01000193U;
  }
  return hash;
}

}  // namespace mrb
