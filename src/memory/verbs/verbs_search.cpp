// keywords and search: recall by the words of a memo.

#include <algorithm>
#include <array>
#include <cstdio>

#include "common/answer.h"
#include "memory/recall/coverage.h"
#include "memory/recall/fused_search.h"
#include "memory/recall/search.h"
#include "memory/recall/temporal_query.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_lines.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

constexpr std::string_view kSearchUsage = "memory.search <botid>, {ctxA,ctxB}|*, <query words>";
constexpr std::size_t kMaxPerContext = 20;
constexpr std::size_t kMaxRelated = 24;   // related keywords an answer shows
constexpr std::size_t kMaxSearchers = 8;  // contexts that one search looks at side by side

std::string Number(std::uint64_t value) {
  return std::to_string(value);
}

std::string FormatScore(std::uint32_t quarters) {
  std::array<char, 32> text;
  const int length = std::snprintf(text.data(), text.size(), "%g",
                                   static_cast<double>(quarters) / double{kScoreUnit});
  return {text.data(), static_cast<std::size_t>(length)};
}

/// Appends a line per hit: topic#n, types, score and how each term was reached.
void AppendHits(std::string& out, const ContextIndex& index, std::span<const QueryTerm> terms,
                const CoverageHits& hits) {
  std::vector<std::string> heads(kScoreUnit * terms.size() + 1);  // by score
  for (std::uint32_t score = 1; score < heads.size(); ++score) {
    heads[score] = " (" + FormatScore(score) + " via ";
  }
  std::vector<std::array<std::string, 4>> matches(terms.size());  // by term and kind
  for (std::size_t term = 0; term < terms.size(); ++term) {
    for (unsigned kind = 1; kind <= 3; ++kind) {
      matches[term].at(kind) =
          terms[term].text + " " + std::string(MatchName(static_cast<MatchKind>(kind)));
    }
  }
  AppendMemoLines(out, index, hits.rows(), "\n  ", [&](std::string& line, std::size_t i) {
    const CoverageHits::Hit& hit = hits.hits()[i];
    const MatchMarks marks = hits.marks(hit);
    line += heads[hit.score];
    std::string_view separator;
    for (std::size_t term = 0; term < matches.size(); ++term) {
      if (const unsigned kind = marks.of(term); kind != 0) {
        line.append(separator).append(matches[term].at(kind));
        separator = ", ";
      }
    }
    line += ")";
  });
}

/// "\n  related: a (3 topics), b (1 topic)", the closest first.
void AppendRelated(std::string& out, const ContextIndex& index,
                   std::span<const std::uint32_t> keywords) {
  std::string_view lead = "\n  related: ";
  for (const std::uint32_t id : keywords.first(std::min(keywords.size(), kMaxRelated))) {
    const std::uint32_t topics = index.topics_of(id);
    out.append(lead).append(index.keywords().name(id)).append(" (").append(Number(topics));
    out.append(topics == 1 ? " topic)" : " topics)");
    lead = ", ";
  }
  if (keywords.size() > kMaxRelated) {
    out += ", ... (" + Number(keywords.size() - kMaxRelated) + " more)";
  }
}

std::vector<std::uint32_t> RelatedOf(const QueryTerm& term) {
  std::vector<std::uint32_t> related = term.semantic;
  related.insert(related.end(), term.thematic.begin(), term.thematic.end());
  return related;
}

/// What the memos of an answer say about the time that the query asks for.
std::string SectionOf(const ContextIndex& index, const TemporalQuery& temporal,
                      std::span<const std::uint32_t> rows) {
  if (!temporal.is_time_related()) return "";
  std::vector<std::uint32_t> ascending(rows.begin(), rows.end());
  std::ranges::sort(ascending);
  return TemporalSection(index, temporal, ascending);
}

/// One word: the memos posted under it, else those of the words nearest to it.
std::string OneKeyword(const ContextIndex& index, const QueryTerm& term, std::string_view query,
                       std::string_view context, const TemporalQuery& temporal) {
  std::string answer = "OK: ";
  const auto list = [&](std::span<const std::uint32_t> rows, const std::string& via) {
    answer += Number(rows.size()) + " memo hit(s):";
    AppendMemoLines(answer, index, rows, "\n    ",
                    [&](std::string& line, std::size_t) { line += via; });
  };
  if (term.exact.size() == 1) {
    list(index.keywords().rows(term.exact.front()), " (via " + term.text + ")");
    AppendRelated(answer, index, RelatedOf(term));
    return answer + SectionOf(index, temporal, index.keywords().rows(term.exact.front()));
  }
  QueryTerm nearest = term;
  if (!nearest.exact.empty()) {
    nearest.semantic.clear();
    nearest.thematic.clear();
  }
  const CoverageHits hits = RankByCoverage(index, std::span(&nearest, 1), kAllHits);
  if (!hits.empty()) {
    answer += Number(hits.size()) + " memo hit(s):";
    const std::vector<std::uint32_t> rows = hits.rows();
    AppendMemoLines(answer, index, rows, "\n    ", [&](std::string& line, std::size_t i) {
      const auto kind = static_cast<MatchKind>(hits.marks(hits.hits()[i]).of(0));
      line.append(" (via ").append(term.text);
      line.append(kind == MatchKind::kExact ? "" : " ");
      line.append(kind == MatchKind::kExact ? "" : MatchName(kind)).append(")");
    });
    AppendRelated(answer, index, RelatedOf(term));
    return answer + SectionOf(index, temporal, rows);
  }
  const std::vector<std::uint32_t> similar = SimilarKeywords(index, term.text);
  const std::string section = SectionOf(index, temporal, {});
  if (similar.empty() && section.empty()) {
    return ErrorAnswer("keyword '" + std::string(query) + "' not in context '" +
                       std::string(context) + "'");
  }
  answer += "0 keyword hit(s) for '" + std::string(query) + "'";
  AppendRelated(answer, index, similar);
  return answer + section;
}

std::string NoTermError(std::string_view query) {
  return ErrorAnswer("no term of '" + std::string(query) +
                     "' is a word that could be a keyword (two letters or digits at least)");
}

std::string FusedAnswer(const ContextIndex& index, std::span<const QueryTerm> terms,
                        std::span<const float> vector, const TemporalQuery& temporal,
                        std::string_view query) {
  const RankedLists lanes = SearchLanes(index, {.terms = terms,
                                                .vector = vector,
                                                .temporal = temporal,
                                                .word_hits = kAllHits,
                                                .cues = true});
  const std::vector<FusedHit> hits = Fuse(lanes);
  if (hits.empty()) return OkAnswer("0 keyword hit(s) for '" + std::string(query) + "'");
  std::string answer = OkAnswer(Number(hits.size()) + " memo(s), keyword+semantic" +
                                (lanes.back().empty() ? "" : "+temporal") + " fused (RRF):");
  for (const FusedHit& hit : hits) {
    std::array<char, 32> score;
    const int length = std::snprintf(score.data(), score.size(), " rrf=%.4f ", hit.score);
    answer += "\n  ";
    AppendMemoHead(answer, index, hit.row);
    answer += " ";
    AppendFirstLine(answer, index.record(hit.row).content);
    answer.append(score.data(), static_cast<std::size_t>(length)).append(hit.ranker_names());
  }
  return answer;
}

struct ContextHits {
  std::size_t hits = 0;
  std::string lines;
};

std::string RunKeywords(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3) return UsageError(call);
  const std::string_view query = fields[2];
  const auto vector = QuestionVector(call.contexts, call.options.embedder, fields[1], query);
  if (!vector) return ErrorAnswer(vector.error().text);
  const auto access = call.contexts.read(fields[1]);
  if (!access) return ErrorAnswer(access.error().text);
  const ContextIndex& index = access->store->index();
  const std::vector<QueryTerm> terms = ReadQueryTerms(index, query);
  if (terms.empty()) return NoTermError(query);
  const TemporalQuery temporal = ReadTemporalQuery(query, call.now());
  if (!vector->empty()) return FusedAnswer(index, terms, *vector, temporal, query);
  if (terms.size() == 1) return OneKeyword(index, terms.front(), query, fields[1], temporal);
  const CoverageHits hits = RankByCoverage(index, terms, kAllHits);
  const std::string section = SectionOf(index, temporal, hits.rows());
  if (hits.empty()) return OkAnswer("0 keyword hit(s) for '" + std::string(query) + "'") + section;
  std::string answer = "OK: " + Number(hits.size()) + " memo(s) ranked by coverage of " +
                       Number(terms.size()) +
                       " terms (exact 1, semantic .5, thematic .25 per term)";
  AppendHits(answer, index, terms, hits);
  return answer + section;
}

std::string RunSearch(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3 || fields[2].empty()) return UsageError(call);
  const std::string query(fields[2]);
  const std::vector<std::string> contexts =
      fields[1] == "*" ? call.contexts.loaded() : SplitContexts(fields[1]);
  if (contexts.empty()) {
    return OkAnswer("no contexts loaded — name them: memory.search <botid>, {ctx}, <query>");
  }
  if (ReadQueryTerms(ContextStore().index(), query).empty()) return NoTermError(query);
  std::vector<ContextHits> found(contexts.size());
  const auto outcomes = SearchContexts(
      call.contexts, {.contexts = contexts, .question = query, .side_by_side = kMaxSearchers},
      [&](std::size_t place, const ContextIndex& index, std::span<const float>) {
        const std::vector<QueryTerm> terms = ReadQueryTerms(index, query);
        const CoverageHits hits = RankByCoverage(index, terms, kMaxPerContext);
        found[place].hits = hits.size();
        AppendHits(found[place].lines, index, terms, hits);
      });
  std::size_t total = 0;
  std::string lines;
  for (std::size_t i = 0; i < contexts.size(); ++i) {
    if (!outcomes[i]) return ErrorAnswer(outcomes[i].error().text);
    total += found[i].hits;
    lines += "\n" + contexts[i] + " — " + Number(found[i].hits) + " hit(s)" + found[i].lines;
  }
  if (total == 0) {
    return OkAnswer("no memo in " + Number(contexts.size()) + " context(s) matches '" + query +
                    "'");
  }
  return OkAnswer(Number(total) + " hit(s) across " + Number(contexts.size()) +
                  " context(s) for '" + query + "'" + lines);
}

constexpr VerbRow kRows[] = {
    {.verb = "keywords",
     .aliases = "keyword",
     .usage =
         "memory.keywords <botid>, <context>, <keyword>     (multi-word queries rank by "
         "coverage and ALSO reach the synonym/thematic webs: exact 1, semantic .5, thematic .25 "
         "per term; a single-word miss cascades)",
     .summary =
         "Find the topics linked to a keyword; related in-context keywords (with topic counts) "
         "ride along free.",
     .note = "Related terms were linked at ADD time — zero thesaurus work at search time. A miss "
             "answers with related vocabulary that IS in memory, so a wrong guess still lands "
             "within one hop.",
     .run = RunKeywords},
    {.verb = "search",
     .aliases = "find",
     .usage = kSearchUsage,
     .usage_error = kSearchUsage,
     .summary = "Keyword search ACROSS contexts at once — a brace list of contexts, or * for every "
                "LOADED context. Hits rank by how many query words each memo covers.",
     .note = "* never sweeps every store on disk (a 10M-memo bucket is a real thing) — it covers "
             "what this server has loaded; name the contexts to load them. Per-context hits cap at "
             "20. Alias: find.",
     .run = RunSearch},
};

}  // namespace

std::span<const VerbRow> SearchVerbs() {
  return kRows;
}

}  // namespace mrb::memory
