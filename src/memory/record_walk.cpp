#include "memory/record_walk.h"

namespace mrb::memory {

void RecordWalk::advance(std::string_view data, bool last) {
  while (rows_.size() < kMaxMemos) {
    const auto record = ReadRecord(data, end_);
    if (!record || (record->vector_missing && !last)) {
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
