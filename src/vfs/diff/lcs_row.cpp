#include "vfs/diff/lcs_row.h"

#include <algorithm>
#include <bit>

namespace mrb::diff {

namespace {

constexpr std::uint64_t kNoRise = ~std::uint64_t{0};

}  // namespace

void LcsRow::clear(LineRange columns) {
  columns_ = columns;
  first_word_ = columns.begin / 64;
  rises_end_ = first_word_;
  words_.assign(columns.size() == 0 ? 0 : (columns.end - 1) / 64 - first_word_ + 1, kNoRise);
}

void LcsRow::compute(std::span<const LineId> rows, const OccurrenceIndex& index, LineRange columns,
                     Band band) {
  clear(columns);
  const std::uint64_t width = columns.size();
  for (std::uint64_t row = 0; row < rows.size(); ++row) {
    const std::uint64_t first = row > band.below ? row - band.below : 0;
    if (first >= width) return;
    const std::uint64_t last = std::min(width - 1, row + band.above);
    const auto first_word = static_cast<std::uint32_t>((columns.begin + first) / 64);
    const auto last_word = static_cast<std::uint32_t>((columns.begin + last) / 64);
    apply(index.of(rows[row], first_word), last_word);
  }
}

/// The columns of an occurrence that lie in the range.
std::uint64_t LcsRow::matches(const Occurrence& found) const {
  std::uint64_t matches = found.columns;
  if (found.word == first_word_) matches &= kNoRise << (columns_.begin % 64);
  if (found.word == (columns_.end - 1) / 64) matches &= kNoRise >> (63 - (columns_.end - 1) % 64);
  return matches;
}

/// One row: rises = (rises + matched) | unmatched over the whole row as one long number.
void LcsRow::apply(std::span<const Occurrence> found, std::uint32_t last_word) {
  bool carry = false;
  std::uint32_t next = 0;  // the word that the carry goes to
  for (const Occurrence& occurrence : found) {
    const std::uint32_t at = occurrence.word;
    if (at > last_word) break;
    const std::uint64_t matched_columns = matches(occurrence);
    if (matched_columns == 0) continue;
    if (carry) carry = carry_to(next, at);
    if (carry && at >= rises_end_) return;  // behind the last rise the first match has won already
    std::uint64_t& word = words_[at - first_word_];
    const std::uint64_t sum = word + (word & matched_columns);
    const std::uint64_t total = sum + (carry ? 1 : 0);
    carry = sum < word || total < sum;
    word = total | (word & ~matched_columns);
    if (word != kNoRise) rises_end_ = std::max(rises_end_, at + 1);
    next = at + 1;
  }
  if (carry) static_cast<void>(carry_to(next, rises_end_));
}

/// Lets a carry run from one word up to another, exclusive. Whether it arrives there.
bool LcsRow::carry_to(std::uint32_t from, std::uint32_t to) {
  const std::uint32_t end = std::min(to, rises_end_);
  for (std::uint32_t at = from; at < end; ++at) {
    std::uint64_t& word = words_[at - first_word_];
    if (word == kNoRise) continue;
    word |= word + 1;
    return false;
  }
  return true;
}

std::uint32_t LcsRow::length(std::uint32_t end) const {
  if (end <= columns_.begin) return 0;
  const std::uint32_t last = (end - 1) / 64;
  std::uint32_t rises = 0;
  for (std::uint32_t at = first_word_; at < last; ++at) {
    rises += static_cast<std::uint32_t>(std::popcount(~words_[at - first_word_]));
  }
  const std::uint64_t kept = kNoRise >> (63 - (end - 1) % 64);
  return rises + static_cast<std::uint32_t>(std::popcount(~words_[last - first_word_] & kept));
}

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
