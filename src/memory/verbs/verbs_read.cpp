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

constexpr std::uint64_t kDefaultRecent = 20;
constexpr std::uint64_t kMaxRecent = 10'000;  // lines that somebody may still want to read

std::string TypesInBrackets(std::uint32_t props) {
  return "[" + FormatMemoTypes(props) + "]";
}

}  // namespace

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
  if (!n) return ErrorAnswer("usage  memory.getmemo <botid>, <context>, <topic>, <n>");
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
  if (fields.size() < 2 || wanted == 0) return GenericUsageError(call);
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

}  // namespace mrb::memory
