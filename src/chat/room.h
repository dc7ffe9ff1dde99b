#pragma once

#include <cstdint>
#include <deque>
#include <string_view>
#include <vector>

#include "chat/record.h"

namespace mrb::chat {

/// What a reader gets of a room.
struct Piece {
  std::vector<Record> records;
  std::uint64_t next = 0;    ///< to be passed as `since` by the next read
  std::uint64_t missed = 0;  ///< records that came since and are held no longer
};

/// The last records of a channel, or of two who write to each other. Not thread-safe.
class Room {
 public:
  static constexpr std::size_t kMaxRecords = 500;
  static constexpr std::size_t kMaxBytes = std::size_t{1} << 20U;

  /// `record.seq` must rise.
  void add(Record record);

  /// The last `most` records.
  [[nodiscard]] Piece recent(std::size_t most) const;

  /// The records after `since`, in order; no more than `bytes` of text, but at least one. Those of
  /// `skip_from` are passed over. A `since` that was never reached comes from an earlier life of
  /// the room: everything held is new then.
  [[nodiscard]] Piece since(std::uint64_t since, std::size_t bytes,
                            std::string_view skip_from) const;

  [[nodiscard]] std::uint64_t last() const { return last_; }
  /// Records up to this one are known to have been, though none is held.
  void set_last(std::uint64_t last) { last_ = last; }

 private:
  std::deque<Record> records_;
  std::size_t bytes_ = 0;
  std::uint64_t last_ = 0;
};

}  // namespace mrb::chat
