#include "memory/recall/fused_search.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace mrb::memory {

std::string FusedHit::ranker_names() const {
  constexpr std::array<std::string_view, kRankers> kNames = {"kw", "sem", "tm"};
  std::string names;
  for (std::size_t lane = 0; lane < kRankers; ++lane) {
    if ((lanes >> lane & 1U) != 0) names.append(names.empty() ? "" : "+").append(kNames[lane]);
  }
  return names;
}

std::vector<FusedHit> Fuse(const RankedLists& lanes) {
  std::vector<FusedHit> found;
  for (std::size_t lane = 0; lane < kRankers; ++lane) {
    for (std::size_t i = 0; i < lanes[lane].size(); ++i) {
      found.push_back(
          {lanes[lane][i], 1 / (kFusionOffset + static_cast<double>(i + 1)), 1U << lane});
    }
  }
  std::ranges::sort(found, {}, [](const FusedHit& hit) { return std::pair(hit.row, hit.lanes); });
  std::vector<FusedHit> fused;
  for (const FusedHit& hit : found) {
    if (fused.empty() || fused.back().row != hit.row) {
      fused.push_back(hit);
    } else {
      fused.back().score += hit.score;
      fused.back().lanes |= hit.lanes;
    }
  }
  std::ranges::sort(fused, {}, [](const FusedHit& hit) { return std::pair(-hit.score, hit.row); });
  return fused;
}

}  // namespace mrb::memory
