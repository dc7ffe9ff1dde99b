#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "common/error.h"
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

}  // namespace mrb::memory
