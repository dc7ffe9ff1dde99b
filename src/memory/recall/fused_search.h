#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace mrb::memory {

/// The lanes that a search may combine, in the order in which answers name them.
enum class Ranker : std::uint8_t { kKeywords, kSemantic, kTemporal };
inline constexpr std::size_t kRankers = 3;

/// Memo rows as each lane ranks them, best first; none of a lane that took no part.
using RankedLists = std::array<std::vector<std::uint32_t>, kRankers>;

struct FusedHit {
  std::uint32_t row = 0;
  double score = 0;
  unsigned lanes = 0;  ///< bits by Ranker

  /// "kw+sem+tm", those that found it.
  [[nodiscard]] std::string ranker_names() const;
};

/// Reciprocal-rank fusion: a memo at rank r (from 1) of a lane gets 1 / (kFusionOffset + r) from
/// it. Best first, in store order where scores are equal.
inline constexpr double kFusionOffset = 60;
[[nodiscard]] std::vector<FusedHit> Fuse(const RankedLists& lanes);

}  // namespace mrb::memory
