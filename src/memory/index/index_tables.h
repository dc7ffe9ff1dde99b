#pragma once

#include <cstdint>
#include <vector>

#include "memory/index/keyword_links.h"
#include "memory/index/posting_table.h"
#include "memory/record/memo_table.h"
#include "memory/record/record.h"
#include "memory/record/record_heap.h"

namespace mrb::memory {

/// Counts over all memos of a context.
struct MemoTotals {
  std::uint64_t untimed = 0;
  std::uint64_t vectors = 0;
  std::uint64_t oldest = 0;  ///< of the timed memos; 0 without any
  std::uint64_t newest = 0;

  void count(std::uint64_t written, bool vector);
  void merge(const MemoTotals& other);
  bool operator==(const MemoTotals&) const = default;
};

/// What is looked up in an index, all of it derived from the records of one heap, which outlives
/// it.
struct IndexTables {
  explicit IndexTables(const RecordHeap& heap) : topics(heap), keywords(heap) {}

  MemoTable memos;
  TopicTable topics;      ///< with the rows of each topic's memos
  KeywordIndex keywords;  ///< with the rows of the memos posted under each
  KeywordLinks links;
  MemoTotals totals;
};

/// The record of a row, without its vector (see ReadWholeRecord).
[[nodiscard]] RecordView RecordOf(const RecordHeap& heap, const MemoTable& memos,
                                  std::uint32_t row);

/// The floats of a row's record as they lie there; empty without a vector.
[[nodiscard]] std::string_view VectorBytesOf(const RecordHeap& heap, const MemoTable& memos,
                                             std::uint32_t row);

/// The numbers of all topics, in the order in which their last memos were written.
[[nodiscard]] std::vector<std::uint32_t> TopicsByLastUse(const IndexTables& tables);

}  // namespace mrb::memory
