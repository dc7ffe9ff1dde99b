#pragma once

#include <cstdint>
#include <vector>

#include "memory/containers/paged_array.h"
#include "memory/index/index_tables.h"

namespace mrb::memory {

/// Threads worth starting for a heap of `bytes`: the machine's, but none for a few megabytes.
[[nodiscard]] std::size_t IndexThreads(std::uint64_t bytes);

/// Indexes a whole heap at once, on several threads, into the state that adding its records one by
/// one would have made.
///
/// Every thread takes a contiguous range of the memos and numbers its topics and keywords in tables
/// of its own, writing down the keyword numbers of each memo. The tables are then merged range by
/// range, which numbers every name by its first appearance in the heap, and the number of its
/// postings gives each list its exact place. With the places known, the threads write the lists
/// side by side: within a list, the part of an earlier range comes first, so each is ascending
/// without a sort.
class IndexBuilder {
 public:
  /// `rows` are what a RecordWalk over the heap found. Throws std::bad_alloc.
  [[nodiscard]] static IndexTables build(const RecordHeap& heap, PagedArray<MemoRow> rows,
                                         std::size_t threads);

 private:
  struct Range;
  struct Memo;

  IndexBuilder(const RecordHeap& heap, PagedArray<MemoRow> rows, std::size_t threads);

  void split(std::size_t count);
  void scan(Range& range);
  void read_block(const Range& range, std::uint32_t first, std::span<Memo> block);
  std::uint32_t index_memo(Range& range, std::uint32_t row, const Memo& memo,
                           std::uint32_t* posted);
  /// Numbers the keywords of one memo into `out`, each once; returns how many.
  static std::uint32_t post(Range& range, std::uint32_t row, KeywordCursor& cursor,
                            std::uint32_t* out);
  void merge();
  void scatter(Range& range);
  void link_keywords();

  const RecordHeap& heap_;
  IndexTables tables_;
  PagedArray<MemoRow>& rows_;
  std::vector<Range> ranges_;
};

}  // namespace mrb::memory
