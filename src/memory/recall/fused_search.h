#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace mrb::memory {

/// The lanes that a search may combine, in the order in which answers name them.
enum class Lane : std::uint8_t { kKeywords, kSemantic, kTemporal };
inline constexpr std::size_t kLanes = 3;

/// Memo rows as each lane ranks them, best first; none of a lane that took no part.
using RankedLanes = std::array<std::vector<std::uint32_t>, kLanes>;

struct FusedHit {
  std::uint32_t row = 0;
  double score = 0;
  unsigned lanes = 0;  ///< bits by Lane

  /// "kw+sem+tm", those that found it.
  [[nodiscard]] std::string lane_names() const;
};

/// Reciprocal-rank fusion: a memo at rank r (from 1) of a lane gets 1 / (kFusionOffset + r) from
/// it. Best first, in store order where scores are equal.
inline constexpr double kFusionOffset = 60;
[[nodiscard]] std::vector<FusedHit> Fuse(const RankedLanes& lanes);

}  // namespace mrb::memory
