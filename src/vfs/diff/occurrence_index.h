#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "vfs/diff/line_ids.h"

namespace mrb::diff {

/// Where a line occurs among 64 neighbouring columns: bit i stands for column 64 * word + i.
struct Occurrence {
  std::uint32_t word = 0;
  std::uint64_t columns = 0;  ///< never 0
};

/// For every line number, the columns that hold it: the match masks of a bit-vector comparison,
/// without their empty words, so that their size is that of the text and not lines times columns.
class OccurrenceIndex {
 public:
  /// `columns` holds numbers below `distinct`. Throws std::bad_alloc.
  OccurrenceIndex(std::span<const LineId> columns, std::size_t distinct);

  /// In rising order of words, none of them below `first_word`.
  [[nodiscard]] std::span<const Occurrence> of(LineId line, std::uint32_t first_word) const;

 private:
  std::vector<std::uint32_t> starts_;  // by line number, and one more
  std::vector<Occurrence> found_;
};

}  // namespace mrb::diff
