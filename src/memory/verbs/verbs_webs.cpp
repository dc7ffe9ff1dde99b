// w5, who, when, where and why: the webs of a topic, and the topics on a web.

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <utility>

#include "common/answer.h"
#include "common/text.h"
#include "memory/recall/temporal_query.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/context_reading.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kMaxWhat = 12;  // what a topic is about; the rest is its text

/// The five lists of one topic.
struct TopicFiveWs {
  std::array<std::vector<std::string>, kWebs> terms;
  std::vector<std::string> when;
  std::vector<std::string> what;
};

void AddNew(std::vector<std::string>& list, std::string_view name) {
  if (std::ranges::find(list, name) == list.end()) list.emplace_back(name);
}

/// Keywords that are on no other list, those first that say most: often in the topic, rarely in the
/// context.
std::vector<std::string> WhatOf(const ContextIndex& index, const TopicFiveWs& five_ws,
                                std::span<const std::uint32_t> rows) {
  std::map<std::uint32_t, std::uint32_t> counts;
  for (const std::uint32_t row : rows) {
    std::string_view name;
    for (KeywordCursor cursor = index.record(row).keywords(); cursor.next(name);) {
      if (const std::uint32_t id = index.keywords().find(name); id != kNoId) ++counts[id];
    }
  }
  TokenList taken;
  for (const Web web : {Web::kWho, Web::kWhere}) {
    for (const std::string& term : five_ws.terms.at(static_cast<std::size_t>(web))) {
      for (const std::string_view word : SplitWords(term)) {
        taken.insert(word);
      }
    }
  }
  struct Weighed {
    double weight;
    std::uint32_t id;
  };
  std::vector<Weighed> weighed;
  const auto memos = static_cast<double>(index.memos().size());
  for (const auto& [id, count] : counts) {
    const std::string_view name = index.keywords().name(id);
    const bool number = name.find_first_not_of("0123456789.") == std::string_view::npos;
    if (!number && !IsCommonWord(name) && MeaningOf(name).kind == WordKind::kOther &&
        taken.insert(name)) {
      const auto posted = static_cast<double>(index.keywords().rows(id).size());
      weighed.push_back({count * std::log((memos + 1) / posted), id});
    }
  }
  std::ranges::sort(weighed, {},
                    [](const Weighed& word) { return std::pair(-word.weight, word.id); });
  std::vector<std::string> what;
  for (const Weighed& word : std::span(weighed).first(std::min(weighed.size(), kMaxWhat))) {
    what.emplace_back(index.keywords().name(word.id));
  }
  return what;
}

TopicFiveWs FiveWsOf(const ContextIndex& index, std::span<const std::uint32_t> rows) {
  TopicFiveWs out;
  FiveWs five_ws;
  for (const std::uint32_t row : rows) {
    const RecordView record = index.record(row);
    five_ws.read(record.content, record.topic, record.written);
    for (const FiveWs::Term& term : five_ws.terms()) {
      AddNew(out.terms.at(static_cast<std::size_t>(term.web)), five_ws.name(term));
    }
    for (const FiveWs::Date& date : five_ws.dates()) {
      AddNew(out.when, date.stamp.text());
    }
  }
  out.what = WhatOf(index, out, rows);
  return out;
}

/// One topic of a lookup with what it carries.
using TopicTerms = std::map<std::uint32_t, std::vector<std::string>>;

void Note(const ContextIndex& index, TopicTerms& topics, std::span<const std::uint32_t> rows,
          std::string_view term) {
  for (const std::uint32_t row : rows) {
    std::vector<std::string>& terms = topics[index.memos()[row].topic];
    if (terms.empty() || terms.back() != term) terms.emplace_back(term);
  }
}

std::optional<Web> WebOf(std::string_view verb) {
  if (EqualsIgnoreCase(verb, "who")) return Web::kWho;
  if (EqualsIgnoreCase(verb, "where")) return Web::kWhere;
  if (EqualsIgnoreCase(verb, "why")) return Web::kWhy;
  return std::nullopt;
}

TopicTerms LookUp(const ContextIndex& index, std::string_view verb, std::string_view term,
                  std::uint64_t now) {
  TopicTerms topics;
  if (const auto web = WebOf(verb)) {
    const TermWeb& terms = index.webs().terms(*web);
    const std::string prefix = LowerAscii(term.starts_with('@') ? term.substr(1) : term);
    for (const std::uint32_t id : terms.find(prefix)) {
      Note(index, topics, terms.rows(id), terms.term(id));
    }
    return topics;
  }
  TemporalQuery query = ReadTemporalQuery(term, now);
  if (query.stamps.empty() && query.month == 0) {
    query.prefix = term;  // "20" finds a century: forgiving
  }
  for (const DatedRow& dated : FindDated(index, query)) {
    Note(index, topics, std::span(&dated.row, 1), dated.stamp.text());
  }
  return topics;
}

std::string RunW5(const VerbCall& call) {
  const auto found = ReadTopic(call, 3);
  if (!found) return found.error();
  const auto& [reading, rows] = *found;
  const auto& [fields, access] = reading;
  const ContextIndex& index = access.store->index();
  const TopicFiveWs five_ws = FiveWsOf(index, rows);
  const auto list = [](std::string_view label, const std::vector<std::string>& terms) {
    return std::string("\n  ").append(label).append(Join(terms, "; "));
  };
  return OkAnswer("wwwww of '" + std::string(fields[2]) + "'") +
         list("who:   ", five_ws.terms[static_cast<std::size_t>(Web::kWho)]) +
         list("what:  ", five_ws.what) + list("when:  ", five_ws.when) +
         list("where: ", five_ws.terms[static_cast<std::size_t>(Web::kWhere)]) +
         list("why:   ", five_ws.terms[static_cast<std::size_t>(Web::kWhy)]);
}

std::string RunWho(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3 || fields[2].empty()) return UsageError(call);
  const std::string web = LowerAscii(call.verb);
  const std::string term(fields[2]);
  const auto access = call.contexts.read(fields[1]);
  if (!access) return ErrorAnswer(access.error().text);
  const ContextIndex& index = access->store->index();
  const TopicTerms topics = LookUp(index, web, term, call.now());
  if (topics.empty()) return ErrorAnswer("nothing on the '" + web + "' web for '" + term + "'");
  std::string answer =
      OkAnswer(std::to_string(topics.size()) + " topic(s) on " + web + " '" + term + "'");
  for (const auto& [topic, terms] : topics) {
    answer.append("\n  ").append(index.topics().name(topic));
    answer += "  (" + Join(terms, "; ") + ")";
  }
  return answer;
}

constexpr VerbRow kRows[] = {
    {.verb = "w5",
     .aliases = "frame",
     .usage = "memory.w5 <botid>, <context>, <topic>",
     .summary =
         "Dump a topic's wwwww — its five dangling lists: who/what/when/where/why, extracted "
         "from the memo+topic pair at add/load time (the 5W web; docs\\design\\w5-web.md).",
     .note =
         "The webs are DERIVED, never stored — every existing store grows them retroactively on "
         "load, zero re-ingest. The topic contributes default WHEN (session dates in topic "
         "names) and the speaker prefix default WHO. Alias: frame.",
     .run = RunW5},
    {.verb = "who",
     .siblings = "when where why",
     .usage = "memory.who <botid>, <context>, <term>     (also memory.when / memory.where / "
              "memory.why)",
     .summary =
         "Inbound 5W lookup: which topics carry <term> on the WHO web (speakers, names). Also: "
         "when / where / why — same shape, their own webs.",
     .note = "Prefix match, forgiving by doctrine. WHEN stamps are normalized yyyy[-mm[-dd]] so "
             "'memory.when ..., 2023-05' finds every day of that month, and day-math is string "
             "order. The SAME analyzer runs on questions as on memos — a systematic "
             "misclassification cancels (wrong twice is right), so route a question's known Ws in "
             "as filters and read its asked W back.",
     .run = RunWho},
};

}  // namespace

std::span<const VerbRow> WebVerbs() {
  return kRows;
}

}  // namespace mrb::memory
