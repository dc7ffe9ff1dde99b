#pragma once

#include <cstdint>
#include <span>

#include "memory/index/keyword_links.h"
#include "memory/index/posting_table.h"

namespace mrb::memory {

/// The keywords of a contiguous range of memos, as an index build leaves them: local numbers, memo
/// after memo.
struct PostedRange {
  std::uint32_t first_row = 0;
  std::span<const std::uint32_t> ids;     ///< local keyword numbers
  std::span<const std::uint64_t> starts;  ///< where in `ids` each memo's begin, and the end of all
  std::span<const std::uint32_t> global;  ///< by local number; empty: the numbers are global
};

/// Makes all links of a freshly built keyword index, whose lists are complete, on one thread per
/// range: the same links that adding the memos one by one would have made.
void BuildLinks(KeywordIndex& keywords, KeywordLinks& links, std::span<const PostedRange> ranges);

}  // namespace mrb::memory
