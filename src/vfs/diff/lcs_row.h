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

/// Half-open.
struct LineRange {
  std::uint32_t begin = 0;
  std::uint32_t end = 0;

  [[nodiscard]] std::uint32_t size() const { return end - begin; }
};

/// How far a comparison may leave the diagonal that starts at its first row and column.
struct Band {
  std::uint32_t below = 0;  ///< rows more than columns
  std::uint32_t above = 0;  ///< columns more than rows
};

/// The last row of a table of LCS lengths, 64 cells a step.
///
/// Along a row the length rises by at most 1 per column. A clear bit marks the columns where it
/// rises, and a row follows from the one above by an addition whose carry moves each rise to the
/// leftmost match that can replace it (Hyyrö's form of Allison and Dix' method). A row whose line
/// occurs in few of the words touches only those, and the words that a carry runs through.
class LcsRow {
 public:
  /// The lengths of `rows` against `columns` of the indexed text. Matches outside the band may be
  /// left out: a length is then a lower bound, exact wherever a longest path stays in the band.
  void compute(std::span<const LineId> rows, const OccurrenceIndex& index, LineRange columns,
               Band band);

  /// 1 when the length up to and including `column` is one more than without it, else 0.
  [[nodiscard]] std::uint32_t rise(std::uint32_t column) const {
    return static_cast<std::uint32_t>(~words_[column / 64 - first_word_] >> (column % 64)) & 1U;
  }

  /// The length against the columns from the first one to `end`, exclusive.
  [[nodiscard]] std::uint32_t length(std::uint32_t end) const;

 private:
  void clear(LineRange columns);
  void apply(std::span<const Occurrence> found, std::uint32_t last_word);
  [[nodiscard]] std::uint64_t matches(const Occurrence& found) const;
  [[nodiscard]] bool carry_to(std::uint32_t from, std::uint32_t to);

  std::vector<std::uint64_t> words_;
  LineRange columns_;
  std::uint32_t first_word_ = 0;
  std::uint32_t rises_end_ = 0;  // no word from here on holds a rise
};

}  // namespace mrb::diff
