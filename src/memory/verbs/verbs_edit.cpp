// update, delete and deletememo: the verbs that rewrite a context's store.

#include "common/answer.h"
#include "common/text.h"
#include "memory/record/memo_types.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_embeddings.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

constexpr std::string_view kUpdateUsage =
    "memory.update <botid>, <context>, <topic>, <n>, <keywords>, <props>, <content>";
constexpr std::string_view kDeleteMemoUsage = "memory.deletememo <botid>, <context>, <topic>, <n>";

/// A context that does not exist must not be made by an attempt to take something out of it.
Result<WriteAccess> WriteExisting(const VerbCall& call, std::string_view context,
                                  std::string_view topic) {
  {
    const auto access = call.contexts.read(context);
    if (!access) return std::unexpected(access.error());
    if (access->store->index().topic_rows(topic).empty()) return Fail(ErrorKind::kNotFound, "");
  }
  return call.contexts.write(context);
}

/// A memo of a context that is open for writing.
struct MemoToChange {
  WriteAccess access;
  std::uint32_t row = 0;
};

/// The error is a whole answer.
std::expected<MemoToChange, std::string> FindMemoToChange(const VerbCall& call,
                                                          const std::string& context,
                                                          const std::string& topic,
                                                          std::uint64_t n) {
  auto access = WriteExisting(call, context, topic);
  if (!access) {
    return std::unexpected(access.error().kind == ErrorKind::kNotFound
                               ? MemoRangeError(ContextStore(), topic, context)
                               : ErrorAnswer(access.error().text));
  }
  const auto row = access->store->find_memo(topic, n);
  if (!row) return std::unexpected(MemoRangeError(*access->store, topic, context));
  return MemoToChange{*std::move(access), *row};
}

std::string RewriteRefused(std::string_view what, const Error& error) {
  return ErrorAnswer(std::string(what) + " failed (disk rewrite refused): " + error.text);
}

}  // namespace

std::string RunDelete(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3) return GenericUsageError(call);
  const std::string context(fields[1]);
  const std::string topic(fields[2]);
  auto access = WriteExisting(call, context, topic);
  if (!access) {
    return access.error().kind == ErrorKind::kNotFound ? NoTopicError(topic, context)
                                                       : ErrorAnswer(access.error().text);
  }
  const auto listed = access->store->index().topic_rows(topic);
  const std::vector<std::uint32_t> rows(listed.begin(), listed.end());
  if (rows.empty()) return NoTopicError(topic, context);
  if (const auto removed = access->store->exchange(rows, {}, true); !removed) {
    return RewriteRefused("delete of '" + topic + "'", removed.error());
  }
  return OkAnswer("deleted '" + topic + "' from context '" + context +
                  "' (previous file kept at data.mrb4.last)");
}

std::string RunDeleteMemo(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 4);
  const auto n = fields.size() < 4 ? std::nullopt : ParseDecimal(fields[3]);
  if (!n) return ErrorAnswer("usage  " + std::string(kDeleteMemoUsage));
  const std::string context(fields[1]);
  const std::string topic(fields[2]);
  const auto memo = FindMemoToChange(call, context, topic, *n);
  if (!memo) return memo.error();
  const auto& [access, row] = *memo;
  if (const auto removed = access.store->exchange(std::span(&row, 1), {}, true); !removed) {
    return RewriteRefused("deletememo of '" + topic + "' memo " + std::to_string(*n),
                          removed.error());
  }
  return OkAnswer("memo " + std::to_string(*n) + " deleted from '" + topic + "' (" +
                  std::to_string(access.store->index().topic_rows(topic).size()) +
                  " left; previous file kept at data.mrb4.last)");
}

std::string RunUpdate(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 7);
  const auto n = fields.size() < 7 ? std::nullopt : ParseDecimal(fields[3]);
  if (!n) {
    return ErrorAnswer("usage  " + std::string(kUpdateUsage) +
                       "\n       props (|-combine, or leave empty): " + MemoTypeNames());
  }
  const std::string context(fields[1]);
  const std::string topic(fields[2]);
  const std::string_view content = fields[6];
  const auto props = ParseMemoTypes(OptionalField(fields[5]));
  if (!props) return ErrorAnswer(UnknownTypeText(props.error().text));
  if (content.empty()) return ErrorAnswer("update needs content (deletememo removes a memo)");
  // The embedder may take its time: nobody waits for the context meanwhile.
  const MemoEmbeddings lane = MemoEmbeddings::embed(call, {context}, content);
  const auto memo = FindMemoToChange(call, context, topic, *n);
  if (!memo) return memo.error();
  const auto& [access, row] = *memo;
  const TokenList keywords = BuildKeywordList(SplitKeywords(fields[4]), content);
  const auto words = keywords.views();
  const Status replaced = access.store->replace(row, {.props = *props,
                                                      .written = call.now(),
                                                      .content = content,
                                                      .topic = topic,
                                                      .keywords = words,
                                                      .vector = lane.vector(context)});
  if (!replaced) {
    return ErrorAnswer("update of '" + topic + "' memo " + std::to_string(*n) +
                       " failed (disk rewrite refused)");
  }
  return OkAnswer("memo " + std::to_string(*n) + " of '" + topic + "' REPLACED in context '" +
                  context + "'") +
         lane.notice();
}

}  // namespace mrb::memory
