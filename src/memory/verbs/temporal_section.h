#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "memory/index/context_index.h"
#include "memory/recall/temporal_query.h"

namespace mrb::memory {

/// The section of an answer to a question about time: up to kMaxTemporalRows memos of its dates,
/// those among `hits` (ascending rows) marked as being about its subject too; for a question
/// without a date the dated ones of the hits. Empty when there is nothing to show.
inline constexpr std::size_t kMaxTemporalRows = 20;
[[nodiscard]] std::string TemporalSection(const ContextIndex& index, const TemporalQuery& query,
                                          const std::vector<std::uint32_t>& hits);

}  // namespace mrb::memory
