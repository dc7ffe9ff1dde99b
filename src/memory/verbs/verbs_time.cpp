// temporal and chain: memos by the dates they mention.

#include <algorithm>
#include <utility>

#include "common/answer.h"
#include "memory/recall/query_terms.h"
#include "memory/recall/temporal_query.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_lines.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

/// The memos that hold one of the cue words, for a question about time without a date.
std::vector<std::uint32_t> CueRows(const ContextIndex& index,
                                   const std::vector<std::string>& cues) {
  std::vector<std::uint32_t> rows;
  for (const std::string& cue : cues) {
    if (const std::uint32_t id = index.keywords().find(cue); id != kNoId) {
      const auto posted = index.keywords().rows(id);
      rows.insert(rows.end(), posted.begin(), posted.end());
    }
  }
  std::ranges::sort(rows);
  rows.erase(std::ranges::unique(rows).begin(), rows.end());
  return rows;
}

/// A topic's memos in time order. One without a date stands behind the memo before it: that is
/// where it was told.
std::vector<DatedRow> Story(const ContextIndex& index, std::span<const std::uint32_t> rows,
                            std::size_t& dates) {
  const TimeWeb& time = index.webs().time();
  struct Placed {
    DateStamp place;
    DatedRow row;
  };
  std::vector<Placed> placed;
  std::vector<DateStamp> anchors;
  DateStamp place;
  for (const std::uint32_t row : rows) {
    const DateStamp anchor = time.anchor(row);
    if (anchor.is_set()) {
      place = anchor;
      anchors.push_back(anchor);
    }
    placed.push_back({place, {anchor, row}});
  }
  std::ranges::sort(placed, {},
                    [](const Placed& memo) { return std::pair(memo.place, memo.row.row); });
  std::ranges::sort(anchors);
  dates = static_cast<std::size_t>(std::ranges::unique(anchors).begin() - anchors.begin());
  std::vector<DatedRow> ordered;
  std::ranges::transform(placed, std::back_inserter(ordered), &Placed::row);
  return ordered;
}

void AppendDated(std::string& out, const ContextIndex& index, const std::vector<DatedRow>& dated) {
  std::vector<std::uint32_t> rows(dated.size());
  std::ranges::transform(dated, rows.begin(), &DatedRow::row);
  AppendMemoLines(out, index, rows, "\n  ", [&](std::string& line, std::size_t i) {
    line.append("  ").append(dated[i].stamp.is_set() ? dated[i].stamp.text() : "undated");
  });
}

std::string RunTemporal(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3) return UsageError(call);
  const std::string query(fields[2]);
  const auto access = call.contexts.read(fields[1]);
  if (!access) return ErrorAnswer(access.error().text);
  const ContextIndex& index = access->store->index();
  const TemporalQuery wanted = ReadTemporalQuery(query, call.now());
  std::vector<DatedRow> dated;
  if (wanted.has_date()) {
    dated = FindDated(index, wanted);
  } else {
    for (const std::uint32_t row : CueRows(index, wanted.cues)) {
      dated.push_back({index.webs().time().anchor(row), row});
    }
  }
  if (dated.empty()) return ErrorAnswer("nothing on the temporal web for '" + query + "'");
  std::string answer =
      OkAnswer(std::to_string(dated.size()) + " temporal occurrence(s) of '" + query + "'");
  AppendDated(answer, index, dated);
  return answer;
}

std::string RunChain(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3) return UsageError(call);
  const std::string topic(fields[2]);
  const auto access = call.contexts.read(fields[1]);
  if (!access) return ErrorAnswer(access.error().text);
  const ContextIndex& index = access->store->index();
  std::size_t dates = 0;
  const std::vector<DatedRow> events = Story(index, index.topic_rows(topic), dates);
  if (dates == 0) return ErrorAnswer("no temporal chain for '" + topic + "'");
  std::string answer =
      OkAnswer("temporal chain for '" + topic + "' (" + std::to_string(dates) +
               " keyword(s) bridged -> " + std::to_string(events.size()) + " event(s)):");
  AppendDated(answer, index, events);
  return answer;
}

constexpr VerbRow kRows[] = {
    {.verb = "temporal",
     .usage = "memory.temporal <botid>, <context>, <keyword>",
     .summary =
         "Time-web lookup: which memos mention a date/period — yyyy, yyyy-mm, yyyy-mm-dd, month "
         "names, 'last week', numeric dates (all normalized at add/load time).",
     .note = "Prefix match on the normalized stamp: '2026-09' hits every day of that month. chain "
             "walks a topic's memos in time order.",
     .run = RunTemporal},
    {.verb = "chain",
     .usage = "memory.chain <botid>, <context>, <topic>",
     .summary =
         "A topic's memos ordered along the time web — the story in sequence rather than append "
         "order.",
     .note = "Derived, never stored; any store grows it on load.",
     .run = RunChain},
};

}  // namespace

std::span<const VerbRow> TimeVerbs() {
  return kRows;
}

}  // namespace mrb::memory
