// Term after term over a whole context would touch a table as large as the context once for every
// posting. Instead the rows are taken in blocks whose table stays in the first cache: every list
// adds its rows of the block, then the rows that were touched are collected. Lists are taken with
// the strongest kind first, so the first mark of a term on a row is its best.

#include "memory/recall/coverage.h"

#include <algorithm>
#include <array>
#include <bit>
#include <thread>
#include <utility>

#include "common/parallel.h"

namespace mrb::memory {

namespace {

using Hit = CoverageHits::Hit;

constexpr std::uint32_t kBlockRows = 2048;
constexpr std::uint64_t kPostingsPerThread = 1U
                                             << 16;  // fewer are done before a thread has started

constexpr std::array<std::uint16_t, 4> kWeights = {0, 1, 2, 4};  // by MatchKind

struct PostingList {
  std::span<const std::uint32_t> rows;
  std::uint32_t term = 0;
  unsigned kind = 0;
};

std::vector<PostingList> ListsOf(const ContextIndex& index, std::span<const QueryTerm> terms) {
  std::vector<PostingList> lists;
  const auto add = [&](MatchKind kind, std::vector<std::uint32_t> QueryTerm::* ids) {
    for (std::size_t term = 0; term < terms.size(); ++term) {
      for (const std::uint32_t id : terms[term].*ids) {
        lists.push_back({index.keywords().rows(id), static_cast<std::uint32_t>(term),
                         static_cast<unsigned>(kind)});
      }
    }
  };
  add(MatchKind::kExact, &QueryTerm::exact);
  add(MatchKind::kSemantic, &QueryTerm::semantic);
  add(MatchKind::kThematic, &QueryTerm::thematic);
  return lists;
}

/// Lets through what may still be among the first `limit`. Rows come in store order, so one that
/// only equals the worst of `limit` hits comes too late.
class Threshold {
 public:
  Threshold(std::size_t limit, std::size_t terms)
      : limit_(limit), counts_(kScoreUnit * terms + 1) {}

  bool admit(std::uint32_t score) {
    if (score <= least_) return false;
    ++counts_[score];
    for (++above_; above_ >= limit_;) {
      above_ -= counts_[++least_];
    }
    return true;
  }

 private:
  std::size_t limit_;
  std::vector<std::size_t> counts_;  // admitted, by score
  std::uint32_t least_ = 0;          // this much is no longer enough
  std::size_t above_ = 0;            // admitted with more than least_
};

/// What one thread found in its range of rows, in store order.
struct RangeHits {
  std::vector<Hit> hits;
  std::vector<std::uint64_t> marks;
};

/// Ranks the rows of one range. kWords words of 32 marks each are kept for a row.
template <std::size_t kWords>
class RangeScan {
 public:
  RangeScan(std::span<const PostingList> lists, std::uint32_t from, std::uint32_t to) {
    for (const PostingList& list : lists) {
      const auto first = std::ranges::lower_bound(list.rows, from);
      const auto last = std::lower_bound(first, list.rows.end(), to);
      if (first != last) {
        cursors_.push_back({&*first, &*first + (last - first), list.term, list.kind});
      }
    }
  }

  RangeHits run(Threshold& threshold) {
    RangeHits out;
    for (std::uint32_t next = first_row(); next != kNoId;) {
      const std::uint32_t start = next / kBlockRows * kBlockRows;
      next = mark_block(start);
      collect(start, threshold, out);
    }
    return out;
  }

 private:
  struct Cursor {
    const std::uint32_t* at;
    const std::uint32_t* end;
    std::uint32_t term;
    unsigned kind;
  };

  [[nodiscard]] std::uint32_t first_row() const {
    std::uint32_t first = kNoId;
    for (const Cursor& cursor : cursors_) {
      first = std::min(first, *cursor.at);
    }
    return first;
  }

  /// Marks the rows of one block; returns the first row behind it.
  std::uint32_t mark_block(std::uint32_t start) {
    std::uint32_t next = kNoId;
    for (Cursor& cursor : cursors_) {
      const std::uint32_t* at = cursor.at;
      const std::size_t word = cursor.term / 32;
      const unsigned shift = 2 * (cursor.term % 32);
      const std::uint16_t weight = kWeights[cursor.kind];
      for (; at != cursor.end && *at - start < kBlockRows; ++at) {
        const std::uint32_t slot = *at - start;
        std::uint64_t& marks = marks_[slot * kWords + word];
        const bool fresh = (marks >> shift & 3U) == 0;
        marks |= fresh ? std::uint64_t{cursor.kind} << shift : 0;
        scores_[slot] = static_cast<std::uint16_t>(scores_[slot] + (fresh ? weight : 0));
        touched_[slot / 64] |= std::uint64_t{1} << (slot % 64);
      }
      cursor.at = at;
      if (at != cursor.end) next = std::min(next, *at);
    }
    return next;
  }

  /// Takes the touched rows that are good enough and leaves the tables empty again.
  void collect(std::uint32_t start, Threshold& threshold, RangeHits& out) {
    for (std::size_t word = 0; word < touched_.size(); ++word) {
      for (std::uint64_t bits = std::exchange(touched_[word], 0); bits != 0; bits &= bits - 1) {
        const auto slot = static_cast<std::uint32_t>(
            word * 64 + static_cast<std::size_t>(std::countr_zero(bits)));
        std::uint64_t* const marks = &marks_[slot * kWords];
        if (threshold.admit(scores_[slot])) {
          out.hits.push_back({start + slot, scores_[slot], 0});
          out.marks.insert(out.marks.end(), marks, marks + kWords);
        }
        scores_[slot] = 0;
        std::fill_n(marks, kWords, 0);
      }
    }
  }

  std::vector<Cursor> cursors_;
  std::array<std::uint64_t, kBlockRows * kWords> marks_{};
  std::array<std::uint16_t, kBlockRows> scores_{};
  std::array<std::uint64_t, kBlockRows / 64> touched_{};
};

/// Both ways of the ranges as one list, in the order of the ranks.
std::vector<Hit> Merge(const std::vector<RangeHits>& ranges, std::size_t terms, std::size_t limit) {
  std::vector<std::size_t> places(kScoreUnit * terms + 2);  // [s]: hits of a higher score than s
  std::size_t count = 0;
  for (const RangeHits& range : ranges) {
    count += range.hits.size();
    for (const Hit& hit : range.hits) {
      ++places[hit.score];
    }
  }
  std::size_t before = 0;
  for (auto place = places.rbegin(); place != places.rend(); ++place) {
    before += std::exchange(*place, before);
  }
  std::vector<Hit> ranked(count);
  std::uint32_t marks = 0;
  for (const RangeHits& range : ranges) {
    for (const Hit& hit : range.hits) {
      ranked[places[hit.score]++] = {hit.row, hit.score, marks++};
    }
  }
  ranked.resize(std::min(count, limit));
  return ranked;
}

template <std::size_t kWords>
std::vector<RangeHits> Scan(const std::vector<PostingList>& lists, std::uint32_t rows,
                            std::size_t threads, std::size_t terms, std::size_t limit) {
  std::vector<RangeHits> ranges(threads);
  RunParallel(threads, [&](std::size_t i) {
    const auto bound = [&](std::size_t n) {
      return static_cast<std::uint32_t>(std::uint64_t{rows} * n / threads);
    };
    Threshold threshold(limit, terms);
    ranges[i] = RangeScan<kWords>(lists, bound(i), bound(i + 1)).run(threshold);
  });
  return ranges;
}

}  // namespace

std::vector<std::uint32_t> CoverageHits::rows() const {
  std::vector<std::uint32_t> rows(hits_.size());
  std::ranges::transform(hits_, rows.begin(), &Hit::row);
  return rows;
}

CoverageHits RankByCoverage(const ContextIndex& index, std::span<const QueryTerm> terms,
                            std::size_t limit) {
  const std::vector<PostingList> lists = ListsOf(index, terms);
  std::uint64_t postings = 0;
  for (const PostingList& list : lists) {
    postings += list.rows.size();
  }
  const std::size_t threads = std::clamp<std::size_t>(
      postings / kPostingsPerThread, 1, std::max(1U, std::thread::hardware_concurrency()));
  const std::uint32_t rows = index.memos().size();
  CoverageHits out;
  std::vector<RangeHits> ranges;
  if (terms.size() <= 32) {
    ranges = Scan<1>(lists, rows, threads, terms.size(), limit);
  } else {
    out.stride_ = kMaxQueryTerms / 32;
    ranges = Scan<kMaxQueryTerms / 32>(lists, rows, threads, terms.size(), limit);
  }
  out.hits_ = Merge(ranges, terms.size(), limit);
  for (RangeHits& range : ranges) {
    if (out.marks_.empty()) {
      out.marks_ = std::move(range.marks);
    } else {
      out.marks_.insert(out.marks_.end(), range.marks.begin(), range.marks.end());
    }
  }
  return out;
}

}  // namespace mrb::memory
