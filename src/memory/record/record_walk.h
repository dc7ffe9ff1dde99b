#pragma once

#include <cstdint>
#include <string_view>

#include "memory/record/memo_table.h"
#include "memory/record/record.h"

namespace mrb::memory {

/// Finds the records of a heap that is still being filled: advance() may be called again and again
/// as more bytes arrive. Each whole record becomes a row with its offset and its number of keywords
/// as written; the rest of the row is left to the index. The first record that does not fit before
/// the end of the data ends the walk: what lies behind it was never acknowledged, or is damage.
class RecordWalk {
 public:
  explicit RecordWalk(PagedArray<MemoRow>& rows) : rows_(rows) {}

  /// Passes the records that are whole in `data`, which starts with what earlier calls were given.
  /// `last` tells that no more will come: only then can a record end for want of bytes.
  void advance(std::string_view data, bool last);

  /// Bytes of whole records so far.
  [[nodiscard]] std::uint64_t end() const { return end_; }

  /// The last record has the vector bit but no room for the dimension: it ends at its keywords.
  [[nodiscard]] bool vector_missing() const { return vector_missing_; }

 private:
  PagedArray<MemoRow>& rows_;
  std::uint64_t end_ = 0;
  std::uint64_t retry_at_ = 0;  // bytes that make another look at an unfinished record worthwhile
  bool vector_missing_ = false;
};

}  // namespace mrb::memory
