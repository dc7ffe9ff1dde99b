#include "memory/recall/query_terms.h"

#include <algorithm>

#include "memory/text/tokenizer.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kMaxSimilar = 8;       // more is no hint any more
constexpr std::size_t kMinSimilarBytes = 3;  // shorter beginnings are shared by chance

void AddNew(std::vector<std::uint32_t>& list, std::uint32_t id) {
  if (std::ranges::find(list, id) == list.end()) list.push_back(id);
}

/// Adds the relatives of the term's keywords, or of its word when that is no keyword.
void AddRelatives(const ContextIndex& index, QueryTerm& term) {
  const auto known = [](const std::vector<std::uint32_t>& list, std::uint32_t id) {
    return std::ranges::find(list, id) != list.end();
  };
  if (term.exact.empty()) {
    term.semantic = index.links().relatives(index.keywords(), term.text);
    return;
  }
  for (const std::uint32_t id : term.exact) {
    for (const std::uint32_t other : index.links().semantic(index.keywords(), id)) {
      if (!known(term.exact, other)) AddNew(term.semantic, other);
    }
  }
  for (const std::uint32_t id : term.exact) {
    for (const std::uint32_t other : index.links().thematic(index.keywords(), id)) {
      if (!known(term.exact, other) && !known(term.semantic, other)) AddNew(term.thematic, other);
    }
  }
}

}  // namespace

std::string_view MatchName(MatchKind kind) {
  switch (kind) {
    case MatchKind::kThematic:
      return "thematic";
    case MatchKind::kSemantic:
      return "semantic";
    case MatchKind::kExact:
      return "exact";
  }
  return "";
}

std::vector<QueryTerm> ReadQueryTerms(const ContextIndex& index, std::string_view query) {
  const TokenList tokens = StripToTokens(query);
  const std::uint32_t whole = index.keywords().find(query);
  std::vector<QueryTerm> terms(std::min(tokens.size(), kMaxQueryTerms));
  for (std::size_t i = 0; i < terms.size(); ++i) {
    terms[i].text = tokens[i];
    if (const std::uint32_t id = index.keywords().find(tokens[i]); id != kNoId) {
      terms[i].exact.push_back(id);
    }
  }
  if (whole != kNoId && (terms.empty() || terms.size() > 1)) {
    terms.assign(1, {});
    terms.front().text = query;
  }
  if (whole != kNoId) AddNew(terms.front().exact, whole);
  for (QueryTerm& term : terms) {
    AddRelatives(index, term);
  }
  return terms;
}

std::vector<std::uint32_t> SimilarKeywords(const ContextIndex& index, std::string_view word) {
  std::vector<std::uint32_t> similar;
  const KeywordIndex& keywords = index.keywords();
  if (word.size() < kMinSimilarBytes) return similar;
  for (std::uint32_t id = 0; id < keywords.size() && similar.size() < kMaxSimilar; ++id) {
    const std::uint32_t length = keywords.entry(id).name_length;
    if (length < kMinSimilarBytes) continue;
    const std::string_view name = keywords.name(id);
    if (name.starts_with(word) || word.starts_with(name)) similar.push_back(id);
  }
  return similar;
}

}  // namespace mrb::memory
