// add and addmemo: the verbs that write one memo to each context of a list.

#include <algorithm>

#include "common/answer.h"
#include "common/text.h"
#include "memory/record/memo_types.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

std::string EmptyContentError(const VerbCall& call) {
  return ErrorAnswer(std::string(call.row.verb) +
                     " needs content — nothing written (an empty memo is never what you meant; the "
                     "text is the LAST field: " +
                     std::string(call.row.usage_error) + ")");
}

std::string FailureText(const VerbCall& call, std::string_view topic, const WriteFailure& failure) {
  if (failure.what == WriteFailure::What::kRefused) return ErrorAnswer(failure.error.text);
  std::string text = std::string(call.row.verb) + " of '" + std::string(topic) + "' in context '" +
                     failure.context + "' failed (disk write refused): " + failure.error.text;
  if (!failure.written.empty()) text += "  [written to: " + Join(failure.written, ", ") + "]";
  return ErrorAnswer(text);
}

/// What an answer says behind its first sentence.
std::string Remarks(const WrittenMemos& written) {
  const bool keys = std::ranges::any_of(written.contexts, &WrittenMemo::wants_keys);
  return written.notice + (keys ? "\n(key it for your model type now: memory.cachekey <botid>, "
                                  "<context>, <modeltype>, @<off>=<label>)"
                                : "");
}

std::string RunAdd(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 5);
  if (fields.size() < 5) return UsageError(call);
  const std::string_view topic = fields[2];
  const std::string_view content = fields[4];
  if (content.empty()) return EmptyContentError(call);
  const auto contexts = SplitContexts(fields[1]);
  const auto written = call.writer().add(contexts, {.topic = topic,
                                                    .content = content,
                                                    .keywords = SplitKeywords(fields[3]),
                                                    .types = 0,
                                                    .written = call.now(),
                                                    .authors = {call.bot, fields[0]}});
  if (!written) return FailureText(call, topic, written.error());
  std::uint64_t replaced = 0;
  for (const WrittenMemo& memo : written->contexts) replaced += memo.replaced;
  std::string answer = "memory '" + std::string(topic) + "' " +
                       (replaced > 0 ? "REPLACED" : "added") +
                       " in context(s): " + Join(contexts, ", ") + " @" +
                       std::to_string(written->contexts.front().offset);
  if (replaced > 0) {
    answer += " (REPLACED " + std::to_string(replaced) +
              " memo(s))\n(add replaces the whole topic; addmemo appends, update edits one memo)";
  }
  return OkAnswer(answer) + Remarks(*written);
}

std::string RunAddMemo(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 6);
  if (fields.size() < 6) return PropsUsageError(call);
  const std::string_view topic = fields[2];
  const std::string_view content = fields[5];
  const auto props = ParseMemoTypes(OptionalField(fields[4]));
  if (!props) return ErrorAnswer(UnknownTypeText(props.error().text));
  if (content.empty()) return EmptyContentError(call);
  const auto contexts = SplitContexts(fields[1]);
  const auto written = call.writer().append(contexts, {.topic = topic,
                                                       .content = content,
                                                       .keywords = SplitKeywords(fields[3]),
                                                       .types = *props,
                                                       .written = call.now(),
                                                       .authors = {call.bot, fields[0]}});
  if (!written) return FailureText(call, topic, written.error());
  return OkAnswer("memo " + std::to_string(written->contexts.front().n) + " @" +
                  std::to_string(written->contexts.front().offset) + " appended to '" +
                  std::string(topic) + "' in context(s): " + Join(contexts, ", ")) +
         Remarks(*written);
}

constexpr VerbRow kRows[] = {
    {.verb = "add",
     .usage = "memory.add <botid>, <context>, <topic>, <keywords>, <content>",
     .usage_error = "memory.add <botid>, {contexts}, <topic>, <keywords>, <content>",
     .summary =
         "Save a memory: topic + content. Keywords are AUTO-EXTRACTED from the content (common "
         "words filtered, same tokenizer as the Mirebolt memo add); the <kw,...> field is an "
         "optional boost — leave it empty. Same topic = REPLACE.",
     .note = "You get better hits this way — the index vocabulary comes from the content itself, "
             "not from what you remembered to pass. New keywords thesaurus-link to related "
             "in-context keywords at add time, both ways.",
     .run = RunAdd},
    {.verb = "addmemo",
     .usage = "memory.addmemo <botid>, <context>, <topic>, <keywords>, <props>, <content>",
     .usage_error = "memory.addmemo <botid>, {contexts}, <topic>, <keywords>, <props>, <content>",
     .summary =
         "APPEND another memo to a topic's list — each memo is its own record on the data heap, "
         "typed by a property bitmask. Keywords AUTO-EXTRACTED like add.",
     .note =
         "A topic is a LIST of memos (like a keyword's reference list). Unlike add (same topic "
         "= REPLACE), addmemo accumulates in append order; a missing topic is created with this "
         "memo as entry 1. Properties are set at creation — | ORs them together (a memo can be "
         "procedure AND usage); & is for testing bits later.",
     .run = RunAddMemo},
};

}  // namespace

std::span<const VerbRow> AddVerbs() {
  return kRows;
}

}  // namespace mrb::memory
