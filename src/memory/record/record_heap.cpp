#include "memory/record/record_heap.h"

#include "common/little_endian.h"
#include "memory/record/memo_types.h"
#include "memory/record/record.h"

namespace mrb::memory {

namespace {

/// Walks over fields that may not be there: what does not fit counts as nothing and stops the walk.
class LengthWalk {
 public:
  LengthWalk(const RecordHeap& heap, std::uint64_t offset)
      : heap_(heap), start_(offset), at_(offset) {}

  [[nodiscard]] std::uint64_t length() const { return at_ - start_; }

  bool skip(std::uint64_t bytes) {
    going_ = going_ && at_ <= heap_.used() && bytes <= heap_.used() - at_;
    at_ += going_ ? bytes : 0;
    return going_;
  }

  /// The word at the present place, which is passed.
  std::uint32_t word() {
    const std::uint32_t value = heap_.read_u32(at_);
    return skip(4) ? value : 0;
  }

 private:
  const RecordHeap& heap_;
  std::uint64_t start_;
  std::uint64_t at_;
  bool going_ = true;
};

}  // namespace

Status RecordHeap::reserve(std::uint64_t bytes) {
  const std::uint64_t steps = bytes / kHeapStep + (bytes % kHeapStep == 0 ? 0 : 1);
  const std::uint64_t rounded = (steps == 0 ? 1 : steps) * kHeapStep;
  return rounded <= pages_.capacity() ? Status() : pages_.grow(rounded);
}

std::uint32_t RecordHeap::read_u32(std::uint64_t offset) const {
  if (offset > used_ || used_ - offset < sizeof(std::uint32_t)) return 0;
  return LoadU32(pages_.data() + offset);
}

std::uint64_t RecordHeap::record_length(std::uint64_t offset) const {
  const bool vector = (read_u32(offset) & kVectorBit) != 0;
  LengthWalk walk(*this, offset);
  walk.skip(kRecordHeadBytes);
  walk.skip(walk.word());  // content
  walk.skip(walk.word());  // topic
  const std::uint32_t keywords = walk.word();
  for (std::uint32_t i = 0; i < keywords && walk.skip(walk.word()); ++i) {
  }
  if (vector) {
    walk.skip(walk.word() * std::uint64_t{sizeof(float)});
  }
  return walk.length();
}

std::string_view RecordHeap::text(std::uint64_t offset, std::uint64_t length) const {
  return offset <= used_ ? bytes().substr(offset, length) : std::string_view();
}

void RecordWalk::advance(std::string_view data, bool last) {
  if (data.size() < retry_at_ && !last) return;
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
