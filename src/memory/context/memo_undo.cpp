#include "memory/context/memo_undo.h"

#include <algorithm>

#include "memory/context/memo_mark.h"

namespace mrb::memory {

namespace {

std::string RecordBytes(const ContextStore& store, std::uint32_t row) {
  const std::uint64_t offset = store.index().memos()[row].offset;
  return std::string(store.heap().text(offset, store.heap().record_length(offset)));
}

/// Puts memos back to their places in the topic, or behind what is left of it, in one rewrite.
Result<std::uint64_t> PutBack(ContextStore& store, const MemoUndo& undo) {
  const auto rows = store.index().topic_rows(undo.topic);
  const auto first = std::min<std::uint64_t>(undo.memos.front().n - 1, rows.size());
  const std::vector<std::uint32_t> moved(rows.begin() + static_cast<std::ptrdiff_t>(first),
                                         rows.end());
  RecordBatch batch;
  auto gone = undo.memos.begin();
  auto row = moved.begin();
  for (std::uint64_t n = first + 1; gone != undo.memos.end() || row != moved.end(); ++n) {
    if (gone != undo.memos.end() && (gone->n == n || row == moved.end())) {
      batch.add_whole(gone++->record);
    } else {
      batch.add_whole(RecordBytes(store, *row++));
    }
  }
  const auto put = store.exchange(moved, batch, false);
  if (!put) return std::unexpected(put.error());
  return first + 1;
}

/// Gives a memo the record it had.
Result<std::uint64_t> TakeBackUpdate(ContextStore& store, const MemoUndo& undo, std::uint32_t row) {
  const auto record = ReadRecord(undo.memos.front().record, 0);
  if (!record) return Fail(ErrorKind::kCorrupt, "the memo to put back is damaged");
  const auto keywords = KeywordsOf(*record);
  const auto vector = VectorOf(record->vector_bytes);
  const Status replaced = store.replace(row, {.props = record->props,
                                              .written = record->written,
                                              .content = record->content,
                                              .topic = record->topic,
                                              .keywords = keywords,
                                              .vector = vector});
  if (!replaced) return std::unexpected(replaced.error());
  return undo.memos.front().n;
}

}  // namespace

void MemoUndo::keep(const ContextStore& store, std::uint32_t row) {
  memos.push_back({std::uint64_t{store.index().memos()[row].ordinal} + 1, RecordBytes(store, row)});
}

std::unexpected<Error> ChangedMeanwhile() {
  return Fail(ErrorKind::kInvalidArgument, "this memo was changed meanwhile; look at it again");
}

Result<std::uint64_t> TakeBack(ContextStore& store, const MemoUndo& undo) {
  if (undo.what == MemoUndo::What::kRemoved) return PutBack(store, undo);
  const std::uint64_t n = undo.memos.front().n;
  const auto row = store.find_memo(undo.topic, n);
  if (!row || MemoMark(store.index(), *row) != undo.mark) return ChangedMeanwhile();
  if (undo.what == MemoUndo::What::kUpdated) return TakeBackUpdate(store, undo, *row);
  const auto removed = store.exchange(std::span(&*row, 1), {}, true);
  if (!removed) return std::unexpected(removed.error());
  return n;
}

}  // namespace mrb::memory
