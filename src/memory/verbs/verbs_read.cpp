// memos, getmemo, retrieve and recent: the verbs that show memos.

#include <algorithm>

#include "common/answer.h"
#include "common/text.h"
#include "memory/record/memo_types.h"
#include "memory/verbs/context_reading.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

constexpr std::string_view kGetMemoUsage = "memory.getmemo <botid>, <context>, <topic>, <n>";
constexpr std::uint64_t kDefaultRecent = 20;
constexpr std::uint64_t kMaxRecent = 10'000;  // lines that somebody may still want to read

std::string TypesInBrackets(std::uint32_t props) {
  return "[" + FormatMemoTypes(props) + "]";
}

std::string RunMemos(const VerbCall& call) {
  const auto found = ReadTopic(call, 3);
  if (!found) return found.error();
  const auto& [reading, rows] = *found;
  const auto& [fields, access] = reading;
  const ContextIndex& index = access.store->index();
  std::string answer = std::to_string(rows.size()) + " memo(s) in '" + std::string(fields[2]) +
                       "' of context '" + std::string(fields[1]) + "'";
  for (std::size_t i = 0; i < rows.size(); ++i) {
    answer += "\n  " + std::to_string(i + 1) + "  " +
              TypesInBrackets(index.memos()[rows[i]].props) + "  " +
              FirstLine(index.record(rows[i]).content);
  }
  return OkAnswer(answer);
}

std::string RunGetMemo(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 4);
  const auto n = fields.size() < 4 ? std::nullopt : ParseDecimal(fields[3]);
  if (!n) return UsageError(call);
  const auto access = call.contexts.read(fields[1]);
  if (!access) return ErrorAnswer(access.error().text);
  const ContextIndex& index = access->store->index();
  const auto row = access->store->find_memo(fields[2], *n);
  if (!row) return MemoRangeError(index.topic_rows(fields[2]).size(), fields[2], fields[1]);
  const MemoRow& memo = index.memos()[*row];
  return OkAnswer("memo " + std::to_string(*n) + " of '" + std::string(fields[2]) + "' " +
                  TypesInBrackets(memo.props) + " @" + std::to_string(memo.offset) + "  " +
                  FormatWritten(memo.written) + "\n" + std::string(index.record(*row).content));
}

std::string RunRetrieve(const VerbCall& call) {
  const auto reading = ReadContext(call, 3);
  if (!reading) return reading.error();
  const auto& [fields, access] = *reading;
  const ContextIndex& index = access.store->index();
  const auto rows = index.topic_rows(fields[2]);
  std::string answer;
  for (const std::uint32_t row : rows) {
    answer.append(row == rows.front() ? "" : "\n").append(index.record(row).content);
  }
  if (!rows.empty()) index.recency().touch(index.memos()[rows.front()].topic);
  return answer;
}

std::string RunRecent(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  const bool given = fields.size() == 3 && !OptionalField(fields[2]).empty();
  const std::uint64_t wanted = given ? ParseDecimal(fields[2]).value_or(0) : kDefaultRecent;
  if (fields.size() < 2 || wanted == 0) return UsageError(call);
  const auto access = call.contexts.read(fields[1]);
  if (!access) return ErrorAnswer(access.error().text);
  const std::string context(fields[1]);
  const ContextIndex& index = access->store->index();
  const auto rows = index.newest(std::min(wanted, kMaxRecent));
  if (rows.empty()) return OkAnswer("context '" + context + "' has no memos");
  std::string answer =
      std::to_string(rows.size()) + " most recent memo(s) in '" + context + "' (newest first)\n";
  for (const std::uint32_t row : rows) {
    const MemoRow& memo = index.memos()[row];
    answer += (row == rows.front() ? "  " : "\n  ") + MemoId(index, row) + " " +
              TypesInBrackets(memo.props) + " @ " + FormatWritten(memo.written) + "  " +
              FirstLine(index.record(row).content);
  }
  return OkAnswer(answer);
}

constexpr VerbRow kRows[] = {
    {.verb = "memos",
     .aliases = "enumerate",
     .usage = "memory.memos <botid>, <context>, <topic>",
     .summary = "Enumerate a topic's memos: position, properties, first line of each.",
     .note = "The positions it shows are what getmemo and deletememo take. Alias: enumerate.",
     .run = RunMemos},
    {.verb = "getmemo",
     .usage = kGetMemoUsage,
     .usage_error = kGetMemoUsage,
     .summary =
         "Get ONE memo from a topic by its 1-based position — full content plus its properties.",
     .note = "retrieve returns the whole topic joined; getmemo pulls a single entry.",
     .run = RunGetMemo},
    {.verb = "retrieve",
     .usage = "memory.retrieve <botid>, <context>, <topic>",
     .summary = "Get a topic's memos, append order, by topic.",
     .note = "Returns content only (memos joined by newline); touches the topic to "
             "most-recently-used. Missing topic -> empty.",
     .run = RunRetrieve},
    {.verb = "recent",
     .aliases = "latest",
     .usage = "memory.recent <botid>, <context>, <N=20>",
     .summary =
         "The N most recently WRITTEN memos across the whole context, newest first (topic#n, "
         "type(s), time, first line).",
     .note = "The what-changed-lately view — resume a session from here. Untimed (migrated) memos "
             "sort last. Alias: latest.",
     .run = RunRecent},
};

}  // namespace

std::span<const VerbRow> ReadVerbs() {
  return kRows;
}

}  // namespace mrb::memory
