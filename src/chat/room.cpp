#include "chat/room.h"

#include <algorithm>
#include <utility>

namespace mrb::chat {

void Room::add(Record record) {
  last_ = record.seq;
  bytes_ += record.text.size();
  records_.push_back(std::move(record));
  while (records_.size() > kMaxRecords || (bytes_ > kMaxBytes && records_.size() > 1)) {
    bytes_ -= records_.front().text.size();
    records_.pop_front();
  }
}

Piece Room::recent(std::size_t most) const {
  Piece piece;
  piece.next = last_;
  const std::size_t count = std::min(most, records_.size());
  piece.records.assign(records_.end() - static_cast<std::ptrdiff_t>(count), records_.end());
  return piece;
}

Piece Room::since(std::uint64_t since, std::size_t bytes, std::string_view skip_from) const {
  if (since > last_) since = 0;
  Piece piece;
  piece.next = since;
  // Direct messages share one count, so a gap there says nothing.
  if (!records_.empty() && !records_.front().channel.empty() && records_.front().seq > since + 1) {
    piece.missed = records_.front().seq - since - 1;
  }
  std::size_t used = 0;
  for (const Record& record : records_) {
    if (record.seq <= since) continue;
    if (record.from != skip_from) {
      used += record.text.size();
      if (used > bytes && !piece.records.empty()) return piece;
      piece.records.push_back(record);
    }
    piece.next = record.seq;
  }
  piece.next = std::max(piece.next, last_);
  return piece;
}

}  // namespace mrb::chat
