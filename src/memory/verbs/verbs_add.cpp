// add and addmemo: the verbs that write one memo to each context of a list.

#include <optional>
#include <vector>

#include "common/answer.h"
#include "common/text.h"
#include "memory/record/memo_types.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_embeddings.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

constexpr std::string_view kAddUsage =
    "memory.add <botid>, {contexts}, <topic>, <keywords>, <content>";
constexpr std::string_view kAddMemoUsage =
    "memory.addmemo <botid>, {contexts}, <topic>, <keywords>, <props>, <content>";

std::string EmptyContentError(std::string_view verb, std::string_view usage) {
  return ErrorAnswer(std::string(verb) +
                     " needs content — nothing written (an empty memo is never what you meant; the "
                     "text is the LAST field: " +
                     std::string(usage) + ")");
}

std::string WriteError(std::string_view verb, std::string_view topic, std::string_view context,
                       const Error& error, const std::vector<std::string>& written) {
  std::string text = std::string(verb) + " of '" + std::string(topic) + "' in context '" +
                     std::string(context) + "' failed (disk write refused): " + error.text;
  if (!written.empty()) text += "  [written to: " + Join(written, ", ") + "]";
  return ErrorAnswer(text);
}

/// Nothing is written anywhere unless every context of the list can take it.
std::optional<std::string> Refusal(const VerbCall& call, const std::vector<std::string>& contexts) {
  for (const std::string& context : contexts) {
    if (const Status writable = call.contexts.check_writable(context); !writable) {
      return ErrorAnswer(writable.error().text);
    }
  }
  return std::nullopt;
}

/// What the first context of the list says of the new memo, and how many memos went in all of them.
struct Written {
  std::uint64_t offset = 0;
  std::uint64_t position = 0;
  std::uint64_t replaced = 0;
  std::string notice;  // what the answer says in brackets
  bool keys = false;   // the caller has a model type there
};

std::string KeyHint(const Written& written) {
  return written.keys ? "\n(key it for your model type now: memory.cachekey <botid>, <context>, "
                        "<modeltype>, @<off>=<label>)"
                      : "";
}

enum class TopicMode { kReplace, kAppend };

Result<Written> WriteMemo(ContextStore& store, const RecordFields& memo, TopicMode mode) {
  const auto rows = store.index().topic_rows(memo.topic);
  const std::vector<std::uint32_t> old(rows.begin(), rows.end());
  const bool replaces = mode == TopicMode::kReplace && !old.empty();
  RecordBatch batch;
  if (const Status encoded = replaces ? batch.add(memo) : Status(); !encoded) {
    return std::unexpected(encoded.error());
  }
  const auto offset = replaces ? store.exchange(old, batch, false) : store.append(memo);
  if (!offset) return std::unexpected(offset.error());
  return Written{.offset = *offset,
                 .position = replaces ? 1 : old.size() + 1,
                 .replaced = replaces ? old.size() : 0,
                 .notice = {}};
}

/// Writes the memo to each context in turn; the answer of the verb's failure, if any.
std::expected<Written, std::string> WriteToAll(const VerbCall& call, std::string_view verb,
                                               const std::vector<std::string>& contexts,
                                               const RecordFields& memo, TopicMode mode) {
  if (auto refused = Refusal(call, contexts)) return std::unexpected(std::move(*refused));
  const MemoEmbeddings lane = MemoEmbeddings::embed(call, contexts, memo.content);
  Written all{.notice = lane.notice()};
  std::vector<std::string> done;
  for (const std::string& context : contexts) {
    RecordFields record = memo;
    record.vector = lane.vector(context);
    auto access = call.contexts.write(context);
    const auto written =
        access ? WriteMemo(*access->store, record, mode) : std::unexpected(access.error());
    if (!written) {
      return std::unexpected(WriteError(verb, memo.topic, context, written.error(), done));
    }
    if (done.empty()) {
      all.offset = written->offset;
      all.position = written->position;
    }
    all.replaced += written->replaced;
    all.keys = all.keys || HasModelType(*access->store, call);
    done.push_back(context);
  }
  return all;
}

}  // namespace

std::string RunAdd(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 5);
  if (fields.size() < 5) return ErrorAnswer("usage  " + std::string(kAddUsage));
  const std::string_view topic = fields[2];
  const std::string_view content = fields[4];
  if (content.empty()) return EmptyContentError("add", kAddUsage);
  const auto contexts = SplitContexts(fields[1]);
  const TokenList keywords = BuildKeywordList(SplitKeywords(fields[3]), content);
  const auto words = keywords.views();
  const auto written = WriteToAll(call, "add", contexts,
                                  {.props = 0,
                                   .written = call.now(),
                                   .content = content,
                                   .topic = topic,
                                   .keywords = words,
                                   .vector = {}},
                                  TopicMode::kReplace);
  if (!written) return written.error();
  const bool replaced = written->replaced > 0;
  std::string answer = "memory '" + std::string(topic) + "' " + (replaced ? "REPLACED" : "added") +
                       " in context(s): " + Join(contexts, ", ") + " @" +
                       std::to_string(written->offset);
  if (replaced) {
    answer += " (REPLACED " + std::to_string(written->replaced) +
              " memo(s))\n(add replaces the whole topic; addmemo appends, update edits one memo)";
  }
  return OkAnswer(answer) + written->notice + KeyHint(*written);
}

std::string RunAddMemo(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 6);
  if (fields.size() < 6) {
    return ErrorAnswer("usage  " + std::string(kAddMemoUsage) +
                       "\n       props (|-combine, or leave empty): " + MemoTypeNames());
  }
  const std::string_view topic = fields[2];
  const std::string_view content = fields[5];
  const auto props = ParseMemoTypes(OptionalField(fields[4]));
  if (!props) return ErrorAnswer(UnknownTypeText(props.error().text));
  if (content.empty()) return EmptyContentError("addmemo", kAddMemoUsage);
  const auto contexts = SplitContexts(fields[1]);
  const TokenList keywords = BuildKeywordList(SplitKeywords(fields[3]), content);
  const auto words = keywords.views();
  const auto written = WriteToAll(call, "addmemo", contexts,
                                  {.props = *props,
                                   .written = call.now(),
                                   .content = content,
                                   .topic = topic,
                                   .keywords = words,
                                   .vector = {}},
                                  TopicMode::kAppend);
  if (!written) return written.error();
  return OkAnswer("memo " + std::to_string(written->position) + " @" +
                  std::to_string(written->offset) + " appended to '" + std::string(topic) +
                  "' in context(s): " + Join(contexts, ", ")) +
         written->notice + KeyHint(*written);
}

}  // namespace mrb::memory
