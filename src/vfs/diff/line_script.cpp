#include "vfs/diff/line_script.h"

#include <algorithm>
#include <span>

namespace mrb::diff {
namespace {

/// Where side 2 is split, and the LCS lengths of what lies before and after it.
struct Split {
  std::uint32_t at = 0;
  std::uint32_t before = 0;
  std::uint32_t after = 0;

  [[nodiscard]] std::uint32_t length() const { return before + after; }
};

/// A path with `common` matches cannot leave the diagonal further than by all the other lines.
Band BandOf(LineRange a, LineRange b, std::uint32_t common) {
  return {a.size() - common, b.size() - common};
}

template <typename T>
std::vector<T> Reversed(const std::vector<T>& items) {
  return {items.rbegin(), items.rend()};
}

class Comparison {
 public:
  explicit Comparison(const LineIds& ids)
      : ids_(ids),
        back1_(Reversed(ids.side1)),
        columns_(ids.side2, ids.distinct),
        back_columns_(Reversed(ids.side2), ids.distinct) {}

  std::vector<LineRun> run() {
    const LineRange a{0, static_cast<std::uint32_t>(ids_.side1.size())};
    const LineRange b{0, static_cast<std::uint32_t>(ids_.side2.size())};
    if (a.size() < 2) {
      solve(a, b, a.size() == 0 || find(0, b) == b.end ? 0 : 1);
    } else {
      solve_both(a, b, widest_split(a, b));
    }
    return std::move(runs_);
  }

 private:
  /// Nothing is known about the pair: tries narrow bands until one is certainly wide enough.
  Split widest_split(LineRange a, LineRange b) {
    constexpr std::uint32_t kFirst = 64;  // about the width of one step of the rows
    constexpr std::uint32_t kGrowth = 4;
    const std::uint32_t most = std::min(a.size(), b.size());
    std::uint32_t missing = std::min(most, kFirst);
    while (true) {
      const Split split = find_split(a, b, BandOf(a, b, most - missing));
      const std::uint32_t enough = most - split.length();
      if (enough <= missing) return split;
      missing = enough / kGrowth > missing ? missing * kGrowth : enough;
    }
  }

  /// The smallest best split for the middle of `a`. Its lengths are exact when a longest path
  /// stays in the band.
  Split find_split(LineRange a, LineRange b, Band band) {
    const std::uint32_t half = a.size() / 2;
    const std::uint32_t first = b.begin + (half > band.below ? half - band.below : 0);
    // Neither more than 2^30 lines, so the sum cannot overflow.
    const std::uint32_t last = b.begin + std::min(b.size(), half + band.above);
    const auto total1 = static_cast<std::uint32_t>(ids_.side1.size());
    const auto total2 = static_cast<std::uint32_t>(ids_.side2.size());
    forward_.compute(std::span(ids_.side1).subspan(a.begin, half), columns_, {b.begin, last}, band);
    backward_.compute(std::span(back1_).subspan(total1 - a.end, a.size() - half), back_columns_,
                      {total2 - b.end, total2 - first}, band);

    Split here{first, forward_.length(first), backward_.length(total2 - first)};
    Split best = here;
    while (here.at < last) {
      here.before += forward_.rise(here.at);
      here.after -= backward_.rise(total2 - 1 - here.at);
      ++here.at;
      if (here.length() > best.length()) best = here;
    }
    return best;
  }

  // Halving side 1 keeps the depth below 32.
  void solve(LineRange a, LineRange b, std::uint32_t common) {
    if (common == 0) {
      add(LineChange::kRemoved, a);
      add(LineChange::kAdded, b);
    } else if (common == a.size() && common == b.size()) {
      add(LineChange::kSame, a);
    } else if (a.size() == 1) {
      const std::uint32_t at = find(a.begin, b);
      add(LineChange::kAdded, {b.begin, at});
      add(LineChange::kSame, a);
      add(LineChange::kAdded, {at + 1, b.end});
    } else {
      solve_both(a, b, find_split(a, b, BandOf(a, b, common)));
    }
  }

  void solve_both(LineRange a, LineRange b, Split split) {
    const std::uint32_t middle = a.begin + a.size() / 2;
    solve({a.begin, middle}, {b.begin, split.at}, split.before);
    solve({middle, a.end}, {split.at, b.end}, split.after);
  }

  /// The first line of `b` equal to a line of side 1; the end of `b` when there is none.
  [[nodiscard]] std::uint32_t find(std::uint32_t line, LineRange b) const {
    std::uint32_t at = b.begin;
    while (at < b.end && ids_.side2[at] != ids_.side1[line]) ++at;
    return at;
  }

  void add(LineChange change, LineRange lines) {
    if (lines.size() == 0) return;
    if (!runs_.empty() && runs_.back().change == change && runs_.back().lines.end == lines.begin) {
      runs_.back().lines.end = lines.end;
    } else {
      runs_.push_back({change, lines});
    }
  }

  const LineIds& ids_;
  std::vector<LineId> back1_;  // side 1 from its end
  OccurrenceIndex columns_;
  OccurrenceIndex back_columns_;  // side 2 from its end
  LcsRow forward_;
  LcsRow backward_;
  std::vector<LineRun> runs_;
};

}  // namespace

std::vector<LineRun> CompareLines(const LineIds& ids) {
  if (ids.side2.empty() || ids.side1.empty()) {
    const bool removed = ids.side2.empty();
    const std::size_t lines = removed ? ids.side1.size() : ids.side2.size();
    if (lines == 0) return {};
    return {{removed ? LineChange::kRemoved : LineChange::kAdded,
             {0, static_cast<std::uint32_t>(lines)}}};
  }
  return Comparison(ids).run();
}

}  // namespace mrb::diff
