#pragma once

#include <cstddef>

#include "common/error.h"

namespace mrb::platform {

/// One contiguous block of bytes, taken straight from the system's pages, that grows without
/// copying where the system can (it remaps or commits more pages) and gives everything back when it
/// ends. Pages never written cost address space only. Not thread-safe; growing may move the block.
class PageBuffer {
 public:
  PageBuffer() = default;
  PageBuffer(PageBuffer&& other) noexcept;
  PageBuffer& operator=(PageBuffer&& other) noexcept;
  ~PageBuffer();

  [[nodiscard]] char* data() { return data_; }
  [[nodiscard]] const char* data() const { return data_; }
  [[nodiscard]] std::size_t capacity() const { return capacity_; }

  /// Makes at least `bytes` usable; the first capacity() bytes keep their contents, new ones are
  /// zero. Never shrinks. kNoSpace leaves the block as it was.
  [[nodiscard]] Status grow(std::size_t bytes);

 private:
  void release() noexcept;

  char* data_ = nullptr;
  std::size_t capacity_ = 0;
  std::size_t reserved_ = 0;  // address space held, where the system tells the two apart
};

}  // namespace mrb::platform
