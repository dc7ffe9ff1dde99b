#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "common/little_endian.h"

namespace mrb::memory {

/// One memo as it lies on the heap and in the store file; docs/memory-store.md has the layout.
/// Integers are little-endian; nothing is aligned or terminated.

inline constexpr std::uint64_t kRecordHeadBytes = 12;  ///< props and write time
inline constexpr std::uint64_t kMinRecord = 24;        ///< no content, topic, keywords or vector
inline constexpr std::uint64_t kMaxFieldBytes = 0xFFFFFFFFU;  ///< lengths are 32-bit words

/// How a record begins: with props and write time, or (the oldest stores) with props alone.
enum class RecordHead { kTimed, kUntimed };

/// Steps through a record's keywords. Stops early rather than read past the bytes it was given.
class KeywordCursor {
 public:
  KeywordCursor() = default;
  KeywordCursor(const char* bytes, std::uint64_t size, std::uint32_t count)
      : at_(bytes), end_(bytes + size), left_(count) {}

  /// False when there is no further keyword.
  bool next(std::string_view& keyword) {
    if (left_ == 0 || end_ - at_ < 4) return false;
    const std::uint32_t length = LoadU32(at_);
    if (static_cast<std::uint64_t>(end_ - at_) - 4 < length) return false;
    keyword = std::string_view(at_ + 4, length);
    at_ += 4 + static_cast<std::uint64_t>(length);
    --left_;
    return true;
  }

  /// What lies behind the keywords passed so far.
  [[nodiscard]] std::string_view rest() const { return {at_, end_}; }

 private:
  const char* at_ = nullptr;
  const char* end_ = nullptr;
  std::uint32_t left_ = 0;
};

/// A whole record, read in place: the views end with the heap they point into.
struct RecordView {
  std::uint32_t props = 0;
  std::uint64_t written = 0;  ///< seconds since 1970-01-01 00:00 UTC; 0: untimed
  std::string_view content;
  std::string_view topic;
  std::uint32_t keyword_count = 0;
  std::string_view keyword_bytes;  ///< the keywords with their length prefixes
  std::string_view vector_bytes;   ///< 4 bytes per float
  /// The vector bit is set but the data ended before the dimension: the record ends at its
  /// keywords.
  bool vector_missing = false;
  std::uint64_t length = 0;  ///< of the record as read, in bytes

  [[nodiscard]] KeywordCursor keywords() const {
    return {keyword_bytes.data(), keyword_bytes.size(), keyword_count};
  }
  [[nodiscard]] bool has_vector() const { return !vector_bytes.empty(); }
};

/// The record that starts at `offset`; nothing when a field of it does not fit into `data`.
[[nodiscard]] std::optional<RecordView> ReadRecord(std::string_view data, std::uint64_t offset,
                                                   RecordHead head = RecordHead::kTimed);

/// Reads bytes that are known to be one whole record, in a fraction of the time of ReadRecord():
/// `keyword_bytes` runs to the record's end, and no vector is looked for.
[[nodiscard]] RecordView ReadWholeRecord(std::string_view record);

/// The keywords of a record, as views into it.
[[nodiscard]] std::vector<std::string_view> KeywordsOf(const RecordView& record);

/// What a new record is made of.
struct RecordFields {
  std::uint32_t props = 0;  ///< the vector bit is set or cleared by the writer
  std::uint64_t written = 0;
  std::string_view content;
  std::string_view topic;
  std::span<const std::string_view> keywords;
  std::span<const float> vector;
};

/// The bytes the record takes; nothing when a field is longer than the format can say.
[[nodiscard]] std::optional<std::uint64_t> RecordLength(const RecordFields& fields);

/// Writes the record into `out`, which has room for RecordLength(fields) bytes.
void WriteRecord(const RecordFields& fields, char* out);

}  // namespace mrb::memory
