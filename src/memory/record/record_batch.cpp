#include "memory/record/record_batch.h"

namespace mrb::memory {

std::unexpected<Error> TooLongError() {
  return Fail(ErrorKind::kInvalidArgument, "a field of the memo is longer than 4 GiB");
}

Status RecordBatch::add(const RecordFields& fields) {
  const auto length = RecordLength(fields);
  if (!length) return TooLongError();
  const std::size_t at = bytes_.size();
  bytes_.resize(at + *length);
  WriteRecord(fields, bytes_.data() + at);
  ++count_;
  return {};
}

void RecordBatch::add_whole(std::string_view record) {
  bytes_ += record;
  const auto read = ReadRecord(record, 0);
  if (read && read->vector_missing) bytes_.append(sizeof(std::uint32_t), '\0');
  ++count_;
}

void RecordBatch::borrow(std::string_view records, std::uint64_t count) {
  bytes_.clear();
  borrowed_ = records;
  count_ = count;
}

}  // namespace mrb::memory
