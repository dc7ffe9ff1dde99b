#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <vector>

#include "memory/index/index_tables.h"
#include "memory/index/keyword_prefixes.h"
#include "memory/index/recency_list.h"
#include "memory/index/topic_counts.h"
#include "memory/index/vector_index.h"
#include "memory/index/webs.h"
#include "memory/index/write_time_index.h"
#include "memory/record/record.h"

namespace mrb::memory {

/// Everything derived from the records of one heap: the memo table, the topics with their memo
/// lists, the keywords with their postings and links, the counts. However it came about (record by
/// record, or all at once on any number of threads), the same records make the same index.
///
/// Readers share it; add() needs it alone.
class ContextIndex {
 public:
  explicit ContextIndex(const RecordHeap& heap) : ContextIndex(heap, IndexTables(heap)) {}

  /// `tables`: of that heap, whole.
  ContextIndex(const RecordHeap& heap, IndexTables tables);

  /// Indexes the record at `offset`, which lies behind all those indexed before. False, and nothing
  /// done, when no whole record starts there or there are kMaxMemos already.
  bool add(std::uint64_t offset);

  [[nodiscard]] const MemoTable& memos() const { return tables_.memos; }
  [[nodiscard]] const TopicTable& topics() const { return tables_.topics; }
  [[nodiscard]] const KeywordIndex& keywords() const { return tables_.keywords; }
  [[nodiscard]] const KeywordLinks& links() const { return tables_.links; }
  [[nodiscard]] const MemoTotals& totals() const { return tables_.totals; }

  /// Which topics were used last. Any reader may touch it.
  [[nodiscard]] RecencyList& recency() const { return recency_; }

  /// Row numbers of a topic's memos in append order; empty when there is no such topic.
  [[nodiscard]] std::span<const std::uint32_t> topic_rows(std::string_view topic) const;

  /// The rows of the `count` most recently written memos; see NewestRows(). Any reader may ask.
  [[nodiscard]] std::vector<std::uint32_t> newest(std::size_t count) const {
    return NewestRows(tables_.memos, write_times_, count);
  }

  /// The record of a row, without its vector (see ReadWholeRecord).
  [[nodiscard]] RecordView record(std::uint32_t row) const {
    return RecordOf(*heap_, tables_.memos, row);
  }

  /// Where a row's record begins, for a prefetch.
  [[nodiscard]] const char* record_bytes(std::uint32_t row) const {
    return heap_->bytes().data() + tables_.memos[row].offset;
  }

  /// The webs, derived when first asked for. Any reader may ask; throws std::bad_alloc.
  [[nodiscard]] const Webs& webs() const;

  /// The vectors that records carry, derived when first asked for. As webs().
  [[nodiscard]] const VectorIndex& vectors() const;

  /// The keywords by how they begin, derived when first asked for. As webs().
  [[nodiscard]] const KeywordPrefixes& prefixes() const;

  /// The floats of a row's record as they lie there; empty without a vector.
  [[nodiscard]] std::string_view vector_bytes(std::uint32_t row) const {
    return VectorBytesOf(*heap_, tables_.memos, row);
  }

  /// In how many topics a keyword occurs. Any reader may ask.
  [[nodiscard]] std::uint32_t topics_of(std::uint32_t keyword) const {
    return topic_counts_.count(tables_.memos, tables_.topics, tables_.keywords, keyword);
  }

 private:
  friend class IndexSpoiler;  // tests that want to see damage found

  /// Posts the memo under its keywords, linking new ones; returns their numbers, each once.
  std::vector<std::uint32_t> post(std::uint32_t row, const RecordView& record);
  [[nodiscard]] ThematicPicks find_picks(std::uint32_t keyword);

  const RecordHeap* heap_;
  IndexTables tables_;
  SmallCounter counter_;  // scratch of find_picks()
  mutable RecencyList recency_;
  mutable TopicCounts topic_counts_;
  mutable WriteTimeIndex write_times_;
  mutable std::mutex derived_mutex_;
  mutable std::unique_ptr<Webs> webs_;            // guarded by derived_mutex_ among readers
  mutable std::unique_ptr<VectorIndex> vectors_;  // guarded by derived_mutex_ among readers
  mutable KeywordPrefixes prefixes_;              // guarded by derived_mutex_ among readers
};

}  // namespace mrb::memory
