#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "memory/recall/query_terms.h"

namespace mrb::memory {

/// A memo's coverage score in quarters: 4 for a term among its keywords, 2 for one reached over a
/// semantic link, 1 over a thematic one, each term counting once, with its best.
inline constexpr std::uint32_t kScoreUnit = 4;

/// How each term of a query reached one memo, two bits a term.
struct MatchMarks {
  const std::uint64_t* words;

  /// 0: not at all, else a MatchKind.
  [[nodiscard]] unsigned of(std::size_t term) const {
    return static_cast<unsigned>(words[term / 32] >> (2 * (term % 32)) & 3U);
  }
};

/// Memos in the order of their scores, highest first; in store order where those are equal.
class CoverageHits {
 public:
  struct Hit {
    std::uint32_t row = 0;
    std::uint32_t score = 0;  ///< in quarters
    std::uint32_t marks = 0;  ///< for marks()
  };

  [[nodiscard]] const std::vector<Hit>& hits() const { return hits_; }
  [[nodiscard]] std::size_t size() const { return hits_.size(); }
  [[nodiscard]] bool empty() const { return hits_.empty(); }

  /// The rows of the hits, in that order.
  [[nodiscard]] std::vector<std::uint32_t> rows() const;

  /// How a hit was reached.
  [[nodiscard]] MatchMarks marks(const Hit& hit) const {
    return {marks_.data() + std::size_t{hit.marks} * stride_};
  }

 private:
  friend CoverageHits RankByCoverage(const ContextIndex&, std::span<const QueryTerm>, std::size_t);

  std::vector<Hit> hits_;
  std::vector<std::uint64_t> marks_;
  std::size_t stride_ = 1;
};

inline constexpr std::size_t kAllHits = static_cast<std::size_t>(-1);

/// The `limit` best memos of a context for the terms (1 to kMaxQueryTerms). Uses several threads
/// for a query of very many postings.
[[nodiscard]] CoverageHits RankByCoverage(const ContextIndex& index,
                                          std::span<const QueryTerm> terms, std::size_t limit);

}  // namespace mrb::memory
