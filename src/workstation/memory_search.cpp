// memory/search: memos by words while they are being typed, with what led to each.

#include <algorithm>
#include <ranges>

#include "common/text.h"
#include "memory/recall/coverage.h"
#include "memory/recall/search.h"
#include "memory/recall/temporal_query.h"
#include "memory/text/tokenizer.h"
#include "vfs/query/text_search.h"
#include "workstation/memo_json.h"
#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

using memory::ContextIndex;
using memory::QueryTerm;
using memory::Ranker;

constexpr std::uint64_t kDefaultHits = 50;
constexpr std::uint64_t kMaxHits = 200;
constexpr std::size_t kMaxContexts = 100;
constexpr std::size_t kMaxSearchers = 4;         // contexts that are searched side by side
constexpr std::size_t kMaxPrefixed = 24;         // words that a beginning may stand for
constexpr std::uint64_t kMaxPostings = 400'000;  // memos they may be in, together
constexpr std::size_t kLaneDepth = 1000;         // hits by words that are fused with other lanes
constexpr std::size_t kSnippet = 280;
constexpr std::size_t kSnippetLead = 60;

/// The terms of a question, the last one perhaps only a beginning.
struct Question {
  std::string text;
  bool typing = false;  ///< the last word goes on
  bool deep = false;    ///< by meaning and by date too, which takes its time
  std::uint64_t now = 0;
};

bool Contains(const std::vector<std::uint32_t>& ids, std::uint32_t id) {
  return std::ranges::find(ids, id) != ids.end();
}

/// What the last word may become, beside its own relatives: half as good as a word of the memo, or
/// a quarter when it is a word by itself. The ids, in rising order.
std::vector<std::uint32_t> Complete(const ContextIndex& index, std::vector<QueryTerm>& terms) {
  if (terms.empty()) return {};
  QueryTerm& last = terms.back();
  std::vector<std::uint32_t> added;
  std::uint64_t postings = 0;
  const auto& keywords = index.keywords();
  for (const std::uint32_t id : index.prefixes().starting_with(keywords, last.text, kMaxPrefixed)) {
    if (Contains(last.exact, id) || Contains(last.semantic, id)) continue;
    postings += keywords.rows(id).size();
    if (postings > kMaxPostings && !added.empty()) break;
    std::erase(last.thematic, id);
    (last.exact.empty() ? last.semantic : last.thematic).push_back(id);
    added.push_back(id);
  }
  std::ranges::sort(added);
  return added;
}

/// Leaves out the themes that lie in very many memos: they add a quarter to a score, and take most
/// of the time that an answer to the next key has. The best ones stand first.
void DropWideThemes(const ContextIndex& index, std::vector<QueryTerm>& terms) {
  std::uint64_t postings = 0;
  for (QueryTerm& term : terms) {
    const auto wide = std::ranges::find_if(term.thematic, [&](std::uint32_t id) {
      postings += index.keywords().rows(id).size();
      return postings > kMaxPostings;
    });
    term.thematic.erase(wide, term.thematic.end());
  }
}

struct Hit {
  std::uint32_t row = 0;
  double score = 0;
  unsigned lanes = 1U << static_cast<unsigned>(Ranker::kKeywords);
  std::string json;
};

/// One context, searched.
struct Searched {
  std::string id;
  std::vector<QueryTerm> terms;
  std::vector<std::uint32_t> completions;
  std::vector<Hit> hits;
};

void RankByWords(Searched& searched, const ContextIndex& index, std::size_t limit) {
  if (searched.terms.empty()) return;
  const auto words = memory::RankByCoverage(index, searched.terms, limit);
  for (const auto& hit : words.hits()) {
    searched.hits.emplace_back(hit.row, static_cast<double>(hit.score) / memory::kScoreUnit);
  }
}

void Rank(Searched& searched, const ContextIndex& index, const Question& question,
          std::span<const float> vector, std::size_t limit) {
  searched.terms = memory::ReadQueryTerms(index, question.text);
  if (!question.deep) DropWideThemes(index, searched.terms);
  if (question.typing) searched.completions = Complete(index, searched.terms);
  if (!question.deep) {
    RankByWords(searched, index, limit);
    return;
  }
  const auto dates = memory::ReadTemporalQuery(question.text, question.now);
  const auto fused = memory::Fuse(memory::SearchLanes(
      index,
      {.terms = searched.terms, .vector = vector, .temporal = dates, .word_hits = kLaneDepth}));
  for (const auto& hit : fused | std::views::take(limit)) {
    searched.hits.emplace_back(hit.row, hit.score, hit.lanes);
  }
}

/// How a keyword answers a term.
std::string_view HowOf(const Searched& searched, const QueryTerm& term, std::uint32_t id) {
  if (Contains(term.exact, id)) return "exact";
  const bool last = &term == &searched.terms.back();
  if (last && std::ranges::binary_search(searched.completions, id)) return "starts";
  if (Contains(term.semantic, id)) return "related";
  return Contains(term.thematic, id) ? "theme" : "";
}

/// Writes why a memo was found: for each term the keyword that answers it best.
void AddReasons(JsonWriter& json, const Searched& searched, const memory::KeywordIndex& index,
                const memory::RecordView& record) {
  constexpr std::string_view kRanks[] = {"exact", "starts", "related", "theme"};
  std::vector<std::uint32_t> ids;
  const auto keywords = KeywordsOf(record);
  ids.reserve(keywords.size());
  for (const std::string_view keyword : keywords) ids.push_back(index.find(keyword));
  json.key("why").begin_array();
  for (const QueryTerm& term : searched.terms) {
    std::size_t best = std::size(kRanks);
    std::string_view word;
    for (std::size_t i = 0; i < ids.size() && best > 0; ++i) {
      const std::string_view how = HowOf(searched, term, ids[i]);
      const auto rank = static_cast<std::size_t>(std::ranges::find(kRanks, how) - kRanks);
      if (rank < best) {
        best = rank;
        word = keywords[i];
      }
    }
    if (best == std::size(kRanks)) continue;
    json.begin_object().field("term", term.text).field("word", word);
    json.field("how", kRanks[best]).end_object();
  }
  json.end_array();
}

void AddLanes(JsonWriter& json, unsigned lanes) {
  constexpr std::string_view kNames[] = {"words", "meaning", "date"};
  json.key("lanes").begin_array();
  for (unsigned lane = 0; lane < memory::kRankers; ++lane) {
    if ((lanes >> lane & 1U) != 0) json.value(kNames[lane]);
  }
  json.end_array();
}

/// Some of the memo, from a little before the first word of the question that it holds.
std::string_view Snippet(std::string_view content, std::span<const QueryTerm> terms) {
  std::size_t at = content.size();
  for (const QueryTerm& term : terms) {
    const std::string_view head = content.substr(0, 65'536);
    const auto found = std::ranges::search(head, term.text, [](char a, char b) {
      return a == b || (a >= 'A' && a <= 'Z' && a + ('a' - 'A') == b);
    });
    if (!found.empty()) at = std::min(at, static_cast<std::size_t>(found.begin() - head.begin()));
  }
  if (at == content.size() || at <= kSnippetLead) return CutUtf8(content, kSnippet);
  std::size_t from = at - kSnippetLead;
  while (from < at && (static_cast<unsigned char>(content[from]) & 0xC0U) == 0x80U) ++from;
  return CutUtf8(content.substr(from), kSnippet);
}

std::string HitJson(const Searched& searched, const ContextIndex& index, const Hit& hit) {
  const memory::RecordView record = index.record(hit.row);
  JsonWriter json;
  json.begin_object().field("context", searched.id);
  AddMemo(json, index, hit.row);
  json.key("score").raw(std::to_string(hit.score));
  AddLanes(json, hit.lanes);
  AddReasons(json, searched, index.keywords(), record);
  const std::string_view text = Snippet(record.content, searched.terms);
  json.field("text", text).field("lead", text.data() != record.content.data());
  json.field("cut", text.data() + text.size() != record.content.data() + record.content.size());
  return json.end_object().take();
}

/// The best of all contexts: which one, which of its hits.
std::vector<std::pair<std::size_t, std::size_t>> Best(std::span<const Searched> searched,
                                                      std::size_t limit) {
  std::vector<std::pair<std::size_t, std::size_t>> best;
  for (std::size_t i = 0; i < searched.size(); ++i) {
    for (std::size_t k = 0; k < searched[i].hits.size(); ++k) best.emplace_back(i, k);
  }
  std::ranges::sort(best, {}, [&](const auto& place) {
    return std::pair(-searched[place.first].hits[place.second].score, place);
  });
  best.resize(std::min(best.size(), limit));
  return best;
}

}  // namespace

Answer AnswerMemorySearch(RouteContext& route, const Params& params) {
  const auto limit = params.number("limit", kDefaultHits, kMaxHits);
  if (!limit) return std::unexpected(limit.error());
  const auto text = params.needed("q");
  if (!text) return std::unexpected(text.error());
  const bool deep = params.is_set("deep");
  const Question question{*text, !deep && text->back() != ' ', deep,
                          route.parts.memory.options().now()};
  memory::MemoryService& memory = route.parts.memory;
  std::vector<std::string> ids = ContextsOf(memory.contexts(), params);
  ids.resize(std::min(ids.size(), kMaxContexts));
  std::vector<Searched> searched;
  for (const std::string& id : ids) searched.emplace_back(id);
  const auto outcomes = memory::SearchContexts(
      memory.contexts(),
      {.contexts = ids,
       .question = question.text,
       .embedder = deep ? &memory.options().embedder : nullptr,
       .side_by_side = kMaxSearchers},
      [&](std::size_t place, const ContextIndex& index, std::span<const float> vector) {
        Rank(searched[place], index, question, vector, *limit);
        for (Hit& hit : searched[place].hits) hit.json = HitJson(searched[place], index, hit);
      });
  Failures failures;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    if (!outcomes[i]) failures.push_back({ids[i], outcomes[i].error()});
  }
  if (!failures.empty() && failures.size() == searched.size()) {
    return std::unexpected(failures.front().error);
  }
  JsonWriter json = BeginAnswer();
  AddFailures(json, failures);
  json.field("contexts", searched.size()).key("hits").begin_array();
  for (const auto& [context, hit] : Best(searched, *limit)) {
    json.raw(searched[context].hits[hit].json);
  }
  json.end_array();
  return EndAnswer(json);
}

}  // namespace mrb::workstation
