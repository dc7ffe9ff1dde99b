#pragma once

#include <cstdint>

#include "memory/containers/paged_array.h"
#include "memory/index/posting_table.h"
#include "memory/record/memo_table.h"

namespace mrb::memory {

/// In how many topics each keyword occurs: counted when first asked for and remembered until the
/// keyword's postings change. Any number of readers may ask at once; resize() needs a writer alone.
class TopicCounts {
 public:
  /// Room for that many keywords.
  void resize(std::size_t keywords) { counts_.resize(keywords); }

  [[nodiscard]] std::uint32_t count(const MemoTable& memos, const TopicTable& topics,
                                    const KeywordIndex& keywords, std::uint32_t keyword);

 private:
  PagedArray<std::uint64_t> counts_;  // postings that were counted, topics: 32 bits each
};

}  // namespace mrb::memory
