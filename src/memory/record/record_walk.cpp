#include "memory/record/record_walk.h"

namespace mrb::memory {

void RecordWalk::advance(std::string_view data, bool last) {
  if (data.size() < retry_at_ && !last) {
    return;
  }
  while (rows_.size() < kMaxMemos) {
    const auto record = ReadRecord(data, end_);
    if (!record || (record->vector_missing && !last)) {
      // A record of many slices is walked again from its start: not at every slice, or a crafted
      // one would cost the square of its size.
      retry_at_ = data.size() + (data.size() - end_);
      return;
    }
    MemoRow row;
    row.offset = end_;
    row.keywords = record->keyword_count;
    rows_.push_back(row);
    end_ += record->length;
    vector_missing_ = record->vector_missing;
  }
}

}  // namespace mrb::memory
