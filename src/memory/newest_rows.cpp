#include "memory/newest_rows.h"

#include <functional>
#include <queue>
#include <utility>

namespace mrb::memory {

std::vector<std::uint32_t> NewestRows(const MemoTable& memos, std::size_t count) {
  using Key = std::pair<std::uint64_t, std::uint32_t>;              // write time, row
  std::priority_queue<Key, std::vector<Key>, std::greater<>> best;  // the oldest of them on top
  std::uint32_t row = 0;
  for (const MemoRow& memo : memos.span()) {
    const Key key{memo.written, row++};
    if (best.size() < count) {
      best.push(key);
    } else if (count > 0 && best.top() < key) {
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
