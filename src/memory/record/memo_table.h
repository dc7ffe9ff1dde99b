#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "memory/containers/paged_array.h"

namespace mrb::memory {

/// One live memo. Everywhere else a memo is this row's number, 4 bytes instead of an address, its
/// cached properties and its place in its topic; what a posting carries is read from here.
struct MemoRow {
  std::uint64_t offset = 0;    ///< of the record on the heap
  std::uint64_t written = 0;   ///< seconds since 1970, 0: untimed; a copy of the record's
  std::uint32_t props = 0;     ///< a copy of the record's props word
  std::uint32_t topic = 0;     ///< the topic's number
  std::uint32_t ordinal = 0;   ///< 0-based place in the topic's memo list
  std::uint32_t keywords = 0;  ///< different keywords it is posted under
};

/// Rows are 32-bit numbers and one value is reserved.
inline constexpr std::size_t kMaxMemos = 0xFFFFFFFEU;

/// All live memos of a context in heap order: row r is the (r+1)-th record. As offsets only rise,
/// it is also the set of live record offsets.
class MemoTable {
 public:
  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(rows_.size()); }
  [[nodiscard]] const MemoRow& operator[](std::uint32_t row) const { return rows_[row]; }
  [[nodiscard]] std::span<const MemoRow> span() const { return rows_.span(); }

  /// The row of the record that starts exactly at `offset`.
  [[nodiscard]] std::optional<std::uint32_t> find(std::uint64_t offset) const {
    const auto all = rows_.span();
    const auto at = std::ranges::lower_bound(all, offset, {}, &MemoRow::offset);
    if (at == all.end() || at->offset != offset) return std::nullopt;
    return static_cast<std::uint32_t>(at - all.begin());
  }

  /// For whoever fills the table: the rows in ascending order of their offsets.
  [[nodiscard]] PagedArray<MemoRow>& rows() { return rows_; }

 private:
  PagedArray<MemoRow> rows_;
};

}  // namespace mrb::memory
