#include "vfs/diff/occurrence_index.h"

#include <algorithm>

namespace mrb::diff {

OccurrenceIndex::OccurrenceIndex(std::span<const LineId> columns, std::size_t distinct)
    : starts_(distinct + 1) {
  // First the words of each line are counted, one place early, then they are put in their places.
  constexpr std::uint32_t kNone = UINT32_MAX;
  std::vector<std::uint32_t> last_word(distinct, kNone);
  for (std::uint32_t column = 0; column < columns.size(); ++column) {
    const LineId line = columns[column];
    if (last_word[line] == column / 64) continue;
    last_word[line] = column / 64;
    ++starts_[line + 1];
  }
  for (std::size_t line = 0; line < distinct; ++line) starts_[line + 1] += starts_[line];

  found_.resize(starts_[distinct]);
  std::vector<std::uint32_t>& next = last_word;  // its old contents are not needed any more
  std::copy(starts_.begin(), starts_.end() - 1, next.begin());
  for (std::uint32_t column = 0; column < columns.size(); ++column) {
    const LineId line = columns[column];
    const std::uint32_t word = column / 64;
    if (next[line] == starts_[line] || found_[next[line] - 1].word != word) {
      found_[next[line]++].word = word;
    }
    found_[next[line] - 1].columns |= std::uint64_t{1} << (column % 64);
  }
}

std::span<const Occurrence> OccurrenceIndex::of(LineId line, std::uint32_t first_word) const {
  const auto begin = found_.begin() + starts_[line];
  const auto end = found_.begin() + starts_[line + 1];
  if (begin == end || begin->word >= first_word) return {begin, end};
  return {std::ranges::lower_bound(begin, end, first_word, {}, &Occurrence::word), end};
}

}  // namespace mrb::diff
