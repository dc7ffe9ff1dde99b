#include "memory/context/memory_writer.h"

#include <algorithm>
#include <utility>

#include "memory/context/memo_embeddings.h"
#include "memory/context/memo_mark.h"
#include "memory/text/tokenizer.h"

namespace mrb::memory {

namespace {

using What = WriteFailure::What;
using Rows = std::vector<std::uint32_t>;

std::unexpected<WriteFailure> Failure(What what, const std::string& context, Error error,
                                      std::uint64_t memos = 0) {
  return std::unexpected<WriteFailure>(
      {.what = what, .error = std::move(error), .memos = memos, .context = context, .written = {}});
}

std::unexpected<WriteFailure> NoTopic(const std::string& context) {
  return Failure(What::kMissing, context, {ErrorKind::kNotFound, "no such topic"});
}

Rows RowsOf(const ContextStore& store, std::string_view topic) {
  const auto rows = store.index().topic_rows(topic);
  return {rows.begin(), rows.end()};
}

Result<WrittenMemo> Append(ContextStore& store, const RecordFields& memo) {
  const std::uint64_t before = store.index().topic_rows(memo.topic).size();
  const auto offset = store.append(memo);
  if (!offset) return std::unexpected(offset.error());
  return WrittenMemo{.n = before + 1, .offset = *offset};
}

Result<WrittenMemo> Replace(ContextStore& store, const RecordFields& memo) {
  const Rows old = RowsOf(store, memo.topic);
  if (old.empty()) return Append(store, memo);
  RecordBatch batch;
  if (const Status encoded = batch.add(memo); !encoded) return std::unexpected(encoded.error());
  const auto offset = store.exchange(old, batch, false);
  if (!offset) return std::unexpected(offset.error());
  return WrittenMemo{.n = 1, .offset = *offset, .replaced = old.size()};
}

std::string MarkOf(const ContextStore& store, std::string_view topic, std::uint64_t n) {
  const auto row = store.find_memo(topic, n);
  return row ? MemoMark(store.index(), *row) : "";
}

bool KnowsAny(const ContextStore& store, std::span<const std::string_view> authors) {
  return std::ranges::any_of(authors, [&](std::string_view author) {
    return !author.empty() && store.overlays().find(author) != nullptr;
  });
}

}  // namespace

/// A memo with all that can be found out about it before a context is held.
class MemoryWriter::Draft {
 public:
  Draft(const MemoryWriter& writer, std::span<const std::string> contexts, const Memo& memo)
      : writer_(writer),
        memo_(memo),
        lane_(MemoEmbeddings::embed(writer.contexts_, writer.embedder_, contexts, memo.content)),
        keywords_(BuildKeywordList(memo.keywords, memo.content)),
        words_(keywords_.views()) {}

  [[nodiscard]] RecordFields fields(const std::string& context) const {
    return {.props = memo_.types,
            .written = memo_.written ? *memo_.written : writer_.now_(),
            .content = memo_.content,
            .topic = memo_.topic,
            .keywords = words_,
            .vector = lane_.vector(context)};
  }
  [[nodiscard]] const std::string& notice() const { return lane_.notice(); }

 private:
  const MemoryWriter& writer_;
  const Memo& memo_;
  MemoEmbeddings lane_;
  TokenList keywords_;
  std::vector<std::string_view> words_;  // into keywords_
};

struct MemoryWriter::Held {
  WriteAccess access;
  std::uint32_t row = 0;
};

MemoryWriter::Outcome<WrittenMemos> MemoryWriter::write_to_all(
    std::span<const std::string> contexts, const Memo& memo, WriteOne write) {
  for (const std::string& context : contexts) {
    if (const Status writable = contexts_.check_writable(context); !writable) {
      return Failure(What::kRefused, context, writable.error());
    }
  }
  const Draft draft(*this, contexts, memo);
  WrittenMemos all{.contexts = {}, .notice = draft.notice()};
  for (const std::string& context : contexts) {
    const auto access = contexts_.write(context);
    auto written =
        access ? write(*access->store, draft.fields(context)) : std::unexpected(access.error());
    if (!written) {
      auto failure = Failure(What::kFailed, context, written.error());
      for (WrittenMemo& done : all.contexts) {
        failure.error().written.push_back(std::move(done.context));
      }
      return failure;
    }
    written->context = context;
    written->wants_keys = KnowsAny(*access->store, memo.authors);
    written->mark = MarkOf(*access->store, memo.topic, written->n);
    all.contexts.push_back(*std::move(written));
  }
  return all;
}

MemoryWriter::Outcome<WrittenMemos> MemoryWriter::add(std::span<const std::string> contexts,
                                                      const Memo& memo) {
  return write_to_all(contexts, memo, Replace);
}

MemoryWriter::Outcome<WrittenMemos> MemoryWriter::append(std::span<const std::string> contexts,
                                                         const Memo& memo) {
  return write_to_all(contexts, memo, Append);
}

/// A context that does not exist must not be made by an attempt to take something out of it.
MemoryWriter::Outcome<WriteAccess> MemoryWriter::open_topic(const std::string& context,
                                                            const std::string& topic) {
  {
    const auto access = contexts_.read(context);
    if (!access) return Failure(What::kRefused, context, access.error());
    if (access->store->index().topic_rows(topic).empty()) return NoTopic(context);
  }
  auto access = contexts_.write(context);
  if (access) return *std::move(access);
  // Its folder may have gone just now.
  if (access.error().kind == ErrorKind::kNotFound) return NoTopic(context);
  return Failure(What::kRefused, context, access.error());
}

MemoryWriter::Outcome<MemoryWriter::Held> MemoryWriter::hold(const MemoPlace& place) {
  auto access = open_topic(place.context, place.topic);
  if (!access) return std::unexpected(std::move(access.error()));
  const ContextIndex& index = access->store->index();
  const auto row = access->store->find_memo(place.topic, place.n);
  if (!row) {
    return Failure(What::kMissing, place.context, {ErrorKind::kNotFound, "no such memo"},
                   index.topic_rows(place.topic).size());
  }
  if (!place.mark.empty() && place.mark != MemoMark(index, *row)) {
    return Failure(What::kChanged, place.context, ChangedMeanwhile().error());
  }
  return Held{*std::move(access), *row};
}

MemoryWriter::Outcome<std::string> MemoryWriter::update(const MemoPlace& place, const Memo& memo,
                                                        MemoUndo* undo) {
  // The embedder may take its time: nobody waits for the context meanwhile.
  const Draft draft(*this, std::span(&place.context, 1), memo);
  const auto held = hold(place);
  if (!held) return std::unexpected(held.error());
  const auto& [access, row] = *held;
  if (undo != nullptr) {
    *undo = {MemoUndo::What::kUpdated, place.context, place.topic, {}, {}};
    undo->keep(*access.store, row);
  }
  if (const Status put = access.store->replace(row, draft.fields(place.context)); !put) {
    return Failure(What::kFailed, place.context, put.error());
  }
  if (undo != nullptr) undo->mark = MarkOf(*access.store, place.topic, place.n);
  return draft.notice();
}

MemoryWriter::Outcome<std::uint64_t> MemoryWriter::remove_memo(const MemoPlace& place,
                                                               MemoUndo* undo) {
  const auto held = hold(place);
  if (!held) return std::unexpected(held.error());
  const auto& [access, row] = *held;
  if (undo != nullptr) {
    *undo = {MemoUndo::What::kRemoved, place.context, place.topic, {}, {}};
    undo->keep(*access.store, row);
  }
  if (const auto removed = access.store->exchange(std::span(&row, 1), {}, true); !removed) {
    return Failure(What::kFailed, place.context, removed.error());
  }
  return access.store->index().topic_rows(place.topic).size();
}

MemoryWriter::Outcome<void> MemoryWriter::remove_topic(const std::string& context,
                                                       const std::string& topic, MemoUndo* undo) {
  const auto access = open_topic(context, topic);
  if (!access) return std::unexpected(access.error());
  const Rows rows = RowsOf(*access->store, topic);
  if (rows.empty()) return NoTopic(context);
  if (undo != nullptr) {
    *undo = {MemoUndo::What::kRemoved, context, topic, {}, {}};
    for (const std::uint32_t row : rows) undo->keep(*access->store, row);
  }
  if (const auto removed = access->store->exchange(rows, {}, true); !removed) {
    return Failure(What::kFailed, context, removed.error());
  }
  return {};
}

Result<std::uint64_t> MemoryWriter::take_back(const MemoUndo& undo) {
  const auto access = contexts_.write(undo.context);
  if (!access) return std::unexpected(access.error());
  return TakeBack(*access->store, undo);
}

}  // namespace mrb::memory
