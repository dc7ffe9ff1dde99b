#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "common/error.h"
#include "memory/record/memo_table.h"
#include "memory/record/record.h"
#include "platform/page_buffer.h"

namespace mrb::memory {

/// Capacity is always a multiple of this.
inline constexpr std::uint64_t kHeapStep = 1U << 20;

/// The data heap of one context: every memo record back to back in one block, addressed by byte
/// offset. Exactly what the store file holds behind its magic. Growing may move the block, so views
/// into it last until the next reserve(). Not thread-safe.
class RecordHeap {
 public:
  RecordHeap() = default;
  RecordHeap(RecordHeap&& other) noexcept
      : pages_(std::move(other.pages_)), used_(std::exchange(other.used_, 0)) {}
  RecordHeap& operator=(RecordHeap&& other) noexcept {
    pages_ = std::move(other.pages_);
    used_ = std::exchange(other.used_, 0);
    return *this;
  }

  [[nodiscard]] std::uint64_t used() const { return used_; }
  [[nodiscard]] std::uint64_t capacity() const { return pages_.capacity(); }
  [[nodiscard]] std::string_view bytes() const { return {pages_.data(), used_}; }

  /// Room for `bytes` in all (rounded up to a whole step); kNoSpace changes nothing.
  [[nodiscard]] Status reserve(std::uint64_t bytes);

  /// The block itself, for whoever fills it; room up to capacity().
  [[nodiscard]] char* data() { return pages_.data(); }

  /// Declares the first `bytes` used; not past capacity().
  void set_used(std::uint64_t bytes) { used_ = bytes; }

  /// The 32-bit word at `offset`, or 0 when fewer than 4 bytes remain before the used end.
  [[nodiscard]] std::uint32_t read_u32(std::uint64_t offset) const;

  /// The byte length of the record at `offset`, by walking its fields; a field that would pass the
  /// used end counts as nothing and ends the walk.
  [[nodiscard]] std::uint64_t record_length(std::uint64_t offset) const;

  /// `length` bytes at `offset`; shorter at the used end.
  [[nodiscard]] std::string_view text(std::uint64_t offset, std::uint64_t length) const;

 private:
  platform::PageBuffer pages_;
  std::uint64_t used_ = 0;
};

/// Finds the records of a heap that is still being filled: advance() may be called again and again
/// as more bytes arrive. Each whole record becomes a row with its offset and its number of keywords
/// as written; the rest of the row is left to the index. The first record that does not fit before
/// the end of the data ends the walk: what lies behind it was never acknowledged, or is damage.
class RecordWalk {
 public:
  explicit RecordWalk(PagedArray<MemoRow>& rows) : rows_(rows) {}

  /// Passes the records that are whole in `data`, which starts with what earlier calls were given.
  /// `last` tells that no more will come: only then can a record end for want of bytes.
  void advance(std::string_view data, bool last);

  /// Bytes of whole records so far.
  [[nodiscard]] std::uint64_t end() const { return end_; }

  /// The last record has the vector bit but no room for the dimension: it ends at its keywords.
  [[nodiscard]] bool vector_missing() const { return vector_missing_; }

 private:
  PagedArray<MemoRow>& rows_;
  std::uint64_t end_ = 0;
  std::uint64_t retry_at_ = 0;  // bytes that make another look at an unfinished record worthwhile
  bool vector_missing_ = false;
};

}  // namespace mrb::memory
