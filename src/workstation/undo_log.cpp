#include "workstation/undo_log.h"

#include <algorithm>

namespace mrb::workstation {

std::uint64_t UndoLog::put(memory::MemoUndo undo) {
  std::size_t bytes = undo.topic.size();
  for (const memory::MemoUndo::Memo& memo : undo.memos) bytes += sizeof(memo) + memo.record.size();
  if (bytes > kMaxBytes) return 0;
  const std::scoped_lock guard(mutex_);
  while (!kept_.empty() && (kept_.size() >= kMaxChanges || bytes_ + bytes > kMaxBytes)) {
    bytes_ -= kept_.front().bytes;
    kept_.pop_front();
  }
  kept_.push_back({++last_, bytes, std::move(undo)});
  bytes_ += bytes;
  return last_;
}

std::optional<memory::MemoUndo> UndoLog::take(std::uint64_t number) {
  const std::scoped_lock guard(mutex_);
  const auto found = std::ranges::find(kept_, number, &Kept::number);
  if (found == kept_.end()) return std::nullopt;
  memory::MemoUndo undo = std::move(found->undo);
  bytes_ -= found->bytes;
  kept_.erase(found);
  return undo;
}

}  // namespace mrb::workstation
