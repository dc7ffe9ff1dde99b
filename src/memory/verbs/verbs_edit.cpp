// update, delete and deletememo: the verbs that rewrite a context's store.

#include "common/answer.h"
#include "common/text.h"
#include "memory/record/memo_types.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

using What = WriteFailure::What;

constexpr std::string_view kUpdateUsage =
    "memory.update <botid>, <context>, <topic>, <n>, <keywords>, <props>, <content>";
constexpr std::string_view kDeleteMemoUsage = "memory.deletememo <botid>, <context>, <topic>, <n>";

std::string Refused(const std::string& what) {
  return ErrorAnswer(what + " failed (disk rewrite refused)");
}

std::string FailureText(const MemoPlace& memo, const WriteFailure& failure) {
  return failure.what == What::kMissing ? MemoRangeError(failure.memos, memo.topic, memo.context)
                                        : ErrorAnswer(failure.error.text);
}

std::string RunDelete(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3) return UsageError(call);
  const std::string context(fields[1]);
  const std::string topic(fields[2]);
  if (const auto removed = call.writer().remove_topic(context, topic); !removed) {
    const WriteFailure& failure = removed.error();
    if (failure.what == What::kMissing) return NoTopicError(topic, context);
    if (failure.what == What::kRefused) return ErrorAnswer(failure.error.text);
    return Refused("delete of '" + topic + "'") + ": " + failure.error.text;
  }
  return OkAnswer("deleted '" + topic + "' from context '" + context +
                  "' (previous file kept at data.mrb4.last)");
}

std::string RunDeleteMemo(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 4);
  const auto n = fields.size() < 4 ? std::nullopt : ParseDecimal(fields[3]);
  if (!n) return UsageError(call);
  const MemoPlace memo{std::string(fields[1]), std::string(fields[2]), *n};
  const std::string name = "memo " + std::to_string(*n);
  const auto left = call.writer().remove_memo(memo);
  if (!left && left.error().what == What::kFailed) {
    return Refused("deletememo of '" + memo.topic + "' " + name) + ": " + left.error().error.text;
  }
  if (!left) return FailureText(memo, left.error());
  return OkAnswer(name + " deleted from '" + memo.topic + "' (" + std::to_string(*left) +
                  " left; previous file kept at data.mrb4.last)");
}

std::string RunUpdate(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 7);
  const auto n = fields.size() < 7 ? std::nullopt : ParseDecimal(fields[3]);
  if (!n) return PropsUsageError(call);
  const MemoPlace memo{std::string(fields[1]), std::string(fields[2]), *n};
  const auto props = ParseMemoTypes(OptionalField(fields[5]));
  if (!props) return ErrorAnswer(UnknownTypeText(props.error().text));
  if (fields[6].empty()) return ErrorAnswer("update needs content (deletememo removes a memo)");
  const std::string name = "memo " + std::to_string(*n);
  const auto notice = call.writer().update(memo, {.topic = memo.topic,
                                                  .content = fields[6],
                                                  .keywords = SplitKeywords(fields[4]),
                                                  .types = *props});
  if (!notice && notice.error().what == What::kFailed) {
    return Refused("update of '" + memo.topic + "' " + name);
  }
  if (!notice) return FailureText(memo, notice.error());
  return OkAnswer(name + " of '" + memo.topic + "' REPLACED in context '" + memo.context + "'") +
         *notice;
}

constexpr VerbRow kRows[] = {
    {.verb = "deletememo",
     .usage = kDeleteMemoUsage,
     .usage_error = kDeleteMemoUsage,
     .summary = "Remove ONE memo from a topic's list by its 1-based position (append order).",
     .note = "The last memo leaving removes the topic — a topic IS its memo list. delete still "
             "removes a whole topic at once. memos shows the positions.",
     .run = RunDeleteMemo},
    {.verb = "delete",
     .aliases = "remove",
     .usage = "memory.delete <botid>, <context>, <topic>",
     .summary = "Remove a memory by topic (compacts RAM, rewrites disk).",
     .note = "The previous file is kept at <data>.last as the crash net.",
     .run = RunDelete},
    {.verb = "update",
     .aliases = "updatememo edit",
     .usage = kUpdateUsage,
     .usage_error = kUpdateUsage,
     .summary =
         "REPLACE one memo IN PLACE by its 1-based position: new keywords, type(s) and content "
         "in the SAME slot, fresh write time. Memory is current state, not history — an edit "
         "overwrites, it never chains.",
     .note =
         "Use it when a fact changed (a port, a decision, a status) — the memo keeps its "
         "position so notes that cite topic#n still point at the truth. To keep the old version "
         "as history, addmemo a new memo instead and leave the old one. Aliases: updatememo, "
         "edit.",
     .run = RunUpdate},
};

}  // namespace

std::span<const VerbRow> EditVerbs() {
  return kRows;
}

}  // namespace mrb::memory
