// memory/add, update, delete and undo. Each change leaves on the shelf what takes it back.

#include <algorithm>

#include "common/text.h"
#include "memory/record/memo_types.h"
#include "memory/record/record_batch.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_embeddings.h"
#include "workstation/memo_json.h"
#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

using memory::ContextStore;
using Rows = std::vector<std::uint32_t>;

std::unexpected<Error> ChangedMeanwhile() {
  return Fail(ErrorKind::kInvalidArgument, "this memo was changed meanwhile; look at it again");
}

/// What a page sends of a memo.
struct Draft {
  std::string context;
  std::string topic;
  std::string content;
  std::uint32_t types = 0;
  memory::TokenList keywords;
  memory::MemoEmbeddings lane;
};

/// Reads it, and embeds it where the context wants that, before anything is held.
Result<Draft> DraftOf(RouteContext& route, const Params& params) {
  Draft draft;
  auto context = params.needed("context");
  auto topic = params.needed("topic");
  auto content = params.needed("content");
  for (const auto* given : {&context, &topic, &content}) {
    if (!*given) return std::unexpected(given->error());
  }
  const auto types = memory::ParseMemoTypes(params.text("types"));
  if (!types) return Fail(ErrorKind::kInvalidArgument, memory::UnknownTypeText(types.error().text));
  draft.types = *types;
  draft.keywords =
      memory::BuildKeywordList(memory::SplitKeywords(params.text("keywords")), *content);
  memory::MemoryService& memory = route.parts.memory;
  const memory::VerbCall call{memory.contexts(), memory.options(), "cli", "addmemo", {}};
  draft.lane = memory::MemoEmbeddings::embed(call, {*context}, *content);
  draft.context = *std::move(context);
  draft.topic = *std::move(topic);
  draft.content = *std::move(content);
  return draft;
}

/// Calls `write` with the draft as a record to be written now.
template <typename Write>
auto WithFields(RouteContext& route, const Draft& draft, Write write) {
  const auto words = draft.keywords.views();
  return write(memory::RecordFields{.props = draft.types,
                                    .written = route.parts.memory.options().now(),
                                    .content = draft.content,
                                    .topic = draft.topic,
                                    .keywords = words,
                                    .vector = draft.lane.vector(draft.context)});
}

std::string RecordBytes(const ContextStore& store, std::uint32_t row) {
  const std::uint64_t offset = store.index().memos()[row].offset;
  return std::string(store.heap().text(offset, store.heap().record_length(offset)));
}

/// The context for writing, when it exists.
Result<memory::WriteAccess> Existing(RouteContext& route, const std::string& context) {
  if (!route.parts.memory.contexts().exists(context)) {
    return Fail(ErrorKind::kNotFound, "no such context: " + context);
  }
  return route.parts.memory.contexts().write(context);
}

/// The memo that "n" and "mark" name; the mark may be left out.
Result<std::uint32_t> RowOf(const ContextStore& store, const Params& params) {
  const auto n = params.number("n", 0, UINT32_MAX);
  if (!n) return std::unexpected(n.error());
  const auto row = store.find_memo(params.text("topic"), *n);
  if (!row) return Fail(ErrorKind::kNotFound, "no such memo");
  const std::string mark = params.text("mark");
  if (!mark.empty() && mark != MemoMark(store.index(), *row)) return ChangedMeanwhile();
  return *row;
}

Answer Done(RouteContext& route, Undo undo, const std::string& notice = {}) {
  JsonWriter json = BeginAnswer();
  json.field("n", undo.memos.front().n).field("notice", Trim(notice));
  json.field("undo", route.undo.put(std::move(undo)));
  return EndAnswer(json);
}

Rows RowsOf(const ContextStore& store, std::string_view topic) {
  const auto rows = store.index().topic_rows(topic);
  return {rows.begin(), rows.end()};
}

/// Puts memos back to their places in the topic, or behind what is left of it, in one rewrite.
Result<std::uint64_t> PutBack(ContextStore& store, const Undo& undo) {
  const Rows rows = RowsOf(store, undo.topic);
  const auto first = std::min<std::uint64_t>(undo.memos.front().n - 1, rows.size());
  memory::RecordBatch batch;
  auto gone = undo.memos.begin();
  auto row = rows.begin() + static_cast<std::ptrdiff_t>(first);
  for (std::uint64_t n = first + 1; gone != undo.memos.end() || row != rows.end(); ++n) {
    if (gone != undo.memos.end() && (gone->n == n || row == rows.end())) {
      batch.add_whole(gone++->record);
    } else {
      batch.add_whole(RecordBytes(store, *row++));
    }
  }
  const auto moved = std::span(rows).subspan(first);
  const auto put = store.exchange(moved, batch, false);
  if (!put) return std::unexpected(put.error());
  return first + 1;
}

/// Gives a memo the record it had.
Result<std::uint64_t> TakeBackUpdate(ContextStore& store, const Undo& undo, std::uint32_t row) {
  const auto record = memory::ReadRecord(undo.memos.front().record, 0);
  if (!record) return Fail(ErrorKind::kCorrupt, "the memo to put back is damaged");
  const auto keywords = KeywordsOf(*record);
  const auto vector = memory::VectorOf(record->vector_bytes);
  const Status replaced = store.replace(row, {.props = record->props,
                                              .written = record->written,
                                              .content = record->content,
                                              .topic = record->topic,
                                              .keywords = keywords,
                                              .vector = vector});
  if (!replaced) return std::unexpected(replaced.error());
  return undo.memos.front().n;
}

Result<std::uint64_t> TakeBack(ContextStore& store, const Undo& undo) {
  if (undo.what == Undo::What::kRemoved) return PutBack(store, undo);
  const std::uint64_t n = undo.memos.front().n;
  const auto row = store.find_memo(undo.topic, n);
  if (!row || MemoMark(store.index(), *row) != undo.mark) return ChangedMeanwhile();
  if (undo.what == Undo::What::kUpdated) return TakeBackUpdate(store, undo, *row);
  const auto removed = store.exchange(std::span(&*row, 1), {}, true);
  if (!removed) return std::unexpected(removed.error());
  return n;
}

}  // namespace

Answer AnswerAddMemo(RouteContext& route, const Params& params) {
  const auto draft = DraftOf(route, params);
  if (!draft) return std::unexpected(draft.error());
  const auto access = route.parts.memory.contexts().write(draft->context);
  if (!access) return std::unexpected(access.error());
  ContextStore& store = *access->store;
  const auto offset = WithFields(
      route, *draft, [&](const memory::RecordFields& memo) { return store.append(memo); });
  if (!offset) return std::unexpected(offset.error());
  const Rows rows = RowsOf(store, draft->topic);
  if (rows.empty()) return Fail(ErrorKind::kNoSpace, "written, but out of memory to show it");
  return Done(route,
              {Undo::What::kAdded,
               draft->context,
               draft->topic,
               {{rows.size(), {}}},
               MemoMark(store.index(), rows.back())},
              draft->lane.notice());
}

Answer AnswerUpdateMemo(RouteContext& route, const Params& params) {
  const auto draft = DraftOf(route, params);
  if (!draft) return std::unexpected(draft.error());
  const auto access = Existing(route, draft->context);
  if (!access) return std::unexpected(access.error());
  ContextStore& store = *access->store;
  const auto row = RowOf(store, params);
  if (!row) return std::unexpected(row.error());
  Undo undo{Undo::What::kUpdated,
            draft->context,
            draft->topic,
            {{std::uint64_t{store.index().memos()[*row].ordinal} + 1, RecordBytes(store, *row)}},
            {}};
  const Status replaced = WithFields(
      route, *draft, [&](const memory::RecordFields& memo) { return store.replace(*row, memo); });
  if (!replaced) return std::unexpected(replaced.error());
  undo.mark = MemoMark(store.index(), *row);
  return Done(route, std::move(undo), draft->lane.notice());
}

Answer AnswerDeleteMemo(RouteContext& route, const Params& params) {
  const auto context = params.needed("context");
  if (!context) return std::unexpected(context.error());
  const auto access = Existing(route, *context);
  if (!access) return std::unexpected(access.error());
  ContextStore& store = *access->store;
  const std::string topic = params.text("topic");
  Rows rows = RowsOf(store, topic);
  if (rows.empty()) return Fail(ErrorKind::kNotFound, "no such topic");
  if (!params.text("n").empty()) {
    const auto row = RowOf(store, params);
    if (!row) return std::unexpected(row.error());
    rows.assign(1, *row);
  }
  Undo undo{Undo::What::kRemoved, *context, topic, {}, {}};
  for (const std::uint32_t row : rows) {
    undo.memos.push_back(
        {std::uint64_t{store.index().memos()[row].ordinal} + 1, RecordBytes(store, row)});
  }
  if (const auto removed = store.exchange(rows, {}, true); !removed) {
    return std::unexpected(removed.error());
  }
  return Done(route, std::move(undo));
}

Answer AnswerUndo(RouteContext& route, const Params& params) {
  const auto number = params.number("undo", 0, UINT64_MAX);
  if (!number) return std::unexpected(number.error());
  const auto undo = route.undo.take(*number);
  if (!undo) return Fail(ErrorKind::kNotFound, "this change can no longer be taken back");
  const auto access = route.parts.memory.contexts().write(undo->context);
  if (!access) return std::unexpected(access.error());
  const auto n = TakeBack(*access->store, *undo);
  if (!n) return std::unexpected(n.error());
  JsonWriter json = BeginAnswer();
  json.field("context", undo->context).name_field("topic", undo->topic).field("n", *n);
  return EndAnswer(json);
}

}  // namespace mrb::workstation
