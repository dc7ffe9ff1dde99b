#include "memory/index/index_tables.h"

#include <algorithm>

namespace mrb::memory {

void MemoTotals::count(std::uint64_t written, bool vector) {
  vectors += vector ? 1 : 0;
  if (written == 0) {
    ++untimed;
    return;
  }
  oldest = oldest == 0 ? written : std::min(oldest, written);
  newest = std::max(newest, written);
}

void MemoTotals::merge(const MemoTotals& other) {
  untimed += other.untimed;
  vectors += other.vectors;
  if (other.oldest != 0) oldest = oldest == 0 ? other.oldest : std::min(oldest, other.oldest);
  newest = std::max(newest, other.newest);
}

RecordView RecordOf(const RecordHeap& heap, const MemoTable& memos, std::uint32_t row) {
  const std::uint64_t start = memos[row].offset;
  const std::uint64_t end = row + 1 < memos.size() ? memos[row + 1].offset : heap.used();
  return ReadWholeRecord(heap.bytes().substr(start, end - start));
}

std::string_view VectorBytesOf(const RecordHeap& heap, const MemoTable& memos, std::uint32_t row) {
  const auto record = ReadRecord(heap.bytes(), memos[row].offset);
  return record ? record->vector_bytes : std::string_view();
}

std::vector<std::uint32_t> TopicsByLastUse(const IndexTables& tables) {
  const std::uint32_t topics = tables.topics.size();
  std::vector<bool> seen(topics);
  std::vector<std::uint32_t> order(topics);
  std::uint32_t left = topics;
  for (std::uint32_t row = tables.memos.size(); row-- > 0 && left > 0;) {
    const std::uint32_t topic = tables.memos[row].topic;
    if (!seen[topic]) {
      seen[topic] = true;
      order[--left] = topic;
    }
  }
  return order;
}

}  // namespace mrb::memory
