#include "memory/index/topic_counts.h"

#include <atomic>
#include <vector>

namespace mrb::memory {

std::uint32_t TopicCounts::count(const MemoTable& memos, const TopicTable& topics,
                                 const KeywordIndex& keywords, std::uint32_t keyword) {
  const auto rows = keywords.rows(keyword);
  const std::atomic_ref<std::uint64_t> kept(counts_[keyword]);
  const std::uint64_t known = kept.load(std::memory_order_relaxed);
  if (known >> 32U == rows.size()) return static_cast<std::uint32_t>(known);
  std::uint32_t count = 0;
  if (rows.size() == 1) {
    count = 1;
  } else {
    std::vector<bool> seen(topics.size());
    for (const std::uint32_t row : rows) {
      const std::uint32_t topic = memos[row].topic;
      count += seen[topic] ? 0 : 1;
      seen[topic] = true;
    }
  }
  kept.store(std::uint64_t{rows.size()} << 32U | count, std::memory_order_relaxed);
  return count;
}

}  // namespace mrb::memory
