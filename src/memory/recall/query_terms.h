#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "memory/index/context_index.h"

namespace mrb::memory {

/// A question longer than this is a text of its own; its further words would change no ranking
/// that anybody can follow.
inline constexpr std::size_t kMaxQueryTerms = 128;

/// How a term of a query reached a memo, in rising strength.
enum class MatchKind : std::uint8_t { kThematic = 1, kSemantic = 2, kExact = 3 };

[[nodiscard]] std::string_view MatchName(MatchKind kind);

/// One term of a query with the keywords of one context that it reaches. The three lists hold
/// different keywords: a stronger link hides a weaker one.
struct QueryTerm {
  std::string text;
  std::vector<std::uint32_t> exact;
  std::vector<std::uint32_t> semantic;
  std::vector<std::uint32_t> thematic;

  [[nodiscard]] bool reaches_nothing() const {
    return exact.empty() && semantic.empty() && thematic.empty();
  }
};

/// The terms of `query` against one context: its tokens. A query that is itself a keyword, byte for
/// byte, reaches that too: given keywords need not be tokens ("Foo Bar"). At most kMaxQueryTerms;
/// none when the query holds no word.
[[nodiscard]] std::vector<QueryTerm> ReadQueryTerms(const ContextIndex& index,
                                                    std::string_view query);

/// Keywords that look like `word`, for a query that reached nothing: those that start with it and
/// those it starts with, in the order of their first appearance. Looks at every keyword.
[[nodiscard]] std::vector<std::uint32_t> SimilarKeywords(const ContextIndex& index,
                                                         std::string_view word);

}  // namespace mrb::memory
