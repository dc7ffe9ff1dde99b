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

}  // namespace mrb
