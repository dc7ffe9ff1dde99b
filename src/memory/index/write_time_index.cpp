#include "memory/index/write_time_index.h"

#include <algorithm>
#include <queue>
#include <utility>

namespace mrb::memory {

std::uint64_t WriteTimeIndex::latest_up_to(const MemoTable& memos, std::uint32_t block) {
  const std::scoped_lock lock(mutex_);
  const auto rows = memos.span();
  while (latest_.size() <= block) {
    const std::size_t begin = latest_.size() * kBlock;
    if (begin + kBlock > rows.size()) return UINT64_MAX;  // the last block is still being filled
    std::uint64_t latest = latest_.empty() ? 0 : latest_.back();
    for (const MemoRow& memo : rows.subspan(begin, kBlock)) {
      latest = std::max(latest, memo.written);
    }
    latest_.push_back(latest);
  }
  return latest_[block];
}

std::vector<std::uint32_t> NewestRows(const MemoTable& memos, WriteTimeIndex& bounds,
                                      std::size_t count) {
  using Key = std::pair<std::uint64_t, std::uint32_t>;              // write time, row
  std::priority_queue<Key, std::vector<Key>, std::greater<>> best;  // the oldest of them on top
  for (std::uint32_t row = memos.size(); row-- > 0;) {
    const bool block_begins = row % WriteTimeIndex::kBlock == WriteTimeIndex::kBlock - 1;
    // An earlier row of the same time would come behind, too.
    if (block_begins && best.size() == count &&
        bounds.latest_up_to(memos, row / WriteTimeIndex::kBlock) <= best.top().first) {
      break;
    }
    const Key key{memos[row].written, row};
    if (best.size() < count) {
      best.push(key);
    } else if (best.top() < key) {
      best.pop();
      best.push(key);
    }
  }
  std::vector<std::uint32_t> rows(best.size());
  for (auto out = rows.rbegin(); !best.empty(); ++out, best.pop()) {
    *out = best.top().second;
  }
  return rows;
}

}  // namespace mrb::memory
