#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <vector>

#include "memory/index/posting_table.h"

namespace mrb::memory {

/// Which keywords go together: those that share memos more often than chance would have it.
///
/// A keyword's picks are made anew whenever the number of its memos reaches a power of two (4 or
/// more), from a spread sample of those memos. A candidate must share at least kMinShared of them
/// and at least kMinLift times as many as its own frequency lets expect; of these the kMaxPicks
/// with the greatest shared² / frequency win, the earlier keyword at a tie. All counts are those of
/// the moment the power of two was reached, read off the ascending posting lists, so the picks
/// depend on the records alone: a reload finds the same ones by looking at the last power of two
/// only.

inline constexpr std::size_t kMaxPicks = 4;
inline constexpr std::uint32_t kFirstPick = 4;      ///< memos a keyword needs for its first picks
inline constexpr std::uint32_t kMaxSample = 16;     ///< memos looked at, which bounds the work
inline constexpr std::size_t kMaxSampleWords = 64;  ///< keywords looked at in each of them
inline constexpr std::uint32_t kMinShared = 3;
inline constexpr std::uint64_t kMinLift = 2;

struct ThematicPicks {
  std::array<std::uint32_t, kMaxPicks> ids{};
  std::uint32_t count = 0;

  [[nodiscard]] std::span<const std::uint32_t> span() const { return {ids.data(), count}; }
};

/// Counts how often each number turned up, for a few thousand numbers at most.
class SmallCounter {
 public:
  void clear();
  void add(std::uint32_t id) {
    std::size_t at = (id * 0x9E3779B1U) >> (32 - kBits);
    while (cells_[at].round == round_ && cells_[at].id != id) {
      at = (at + 1) & (kCells - 1);
    }
    if (cells_[at].round != round_) {
      cells_[at] = {id, 0, round_};
      used_.push_back(static_cast<std::uint16_t>(at));
    }
    ++cells_[at].count;
  }

  /// Calls visit(id, count) in the order of the ids' first appearance.
  template <typename Visit>
  void each(Visit visit) const {
    for (const std::uint16_t at : used_) {
      visit(cells_[at].id, std::uint32_t{cells_[at].count});
    }
  }

 private:
  struct Cell {
    std::uint32_t id = 0;
    std::uint16_t count = 0;
    std::uint16_t round = 0;  // of another round: free
  };
  static constexpr unsigned kBits = 11;
  static constexpr std::size_t kCells = 1U << kBits;
  static_assert(kCells >= 2 * std::size_t{kMaxSample} * kMaxSampleWords, "at most half full");

  std::array<Cell, kCells> cells_{};
  std::vector<std::uint16_t> used_;
  std::uint16_t round_ = 1;
};

/// The memo rows of `keyword` to look at: a spread sample of the largest power of two of them; none
/// when there are too few.
[[nodiscard]] std::vector<std::uint32_t> SampleRows(const KeywordIndex& keywords,
                                                    std::uint32_t keyword);

/// Chooses among the counted keywords of the sample.
[[nodiscard]] ThematicPicks ChoosePicks(const KeywordIndex& keywords, std::uint32_t keyword,
                                        std::uint32_t sampled, const SmallCounter& counter);

/// The picks of `keyword`, whose sample is `rows`. `ids_of(row)` yields the numbers of a memo's
/// keywords as a span.
template <typename IdsOf>
[[nodiscard]] ThematicPicks FindPicks(const KeywordIndex& keywords, std::uint32_t keyword,
                                      std::span<const std::uint32_t> rows, SmallCounter& counter,
                                      IdsOf& ids_of) {
  if (rows.empty()) {
    return {};
  }
  counter.clear();
  for (const std::uint32_t row : rows) {
    const std::span<const std::uint32_t> ids = ids_of(row);
    for (const std::uint32_t id : ids.first(std::min(ids.size(), kMaxSampleWords))) {
      counter.add(id);
    }
  }
  return ChoosePicks(keywords, keyword, static_cast<std::uint32_t>(rows.size()), counter);
}

}  // namespace mrb::memory
