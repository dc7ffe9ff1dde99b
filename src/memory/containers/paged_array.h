#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

#include "platform/page_buffer.h"

namespace mrb::memory {

/// A growing array for tables with millions of entries: it sits on a PageBuffer, so growing does
/// not copy where the system can help it and never holds the table twice. Throws std::bad_alloc
/// when the system has no more memory.
template <typename T>
class PagedArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  PagedArray() = default;
  PagedArray(PagedArray&& other) noexcept
      : pages_(std::move(other.pages_)), size_(std::exchange(other.size_, 0)) {}
  PagedArray& operator=(PagedArray&& other) noexcept {
    pages_ = std::move(other.pages_);
    size_ = std::exchange(other.size_, 0);
    return *this;
  }

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] bool empty() const { return size_ == 0; }
  [[nodiscard]] T* data() { return reinterpret_cast<T*>(pages_.data()); }
  [[nodiscard]] const T* data() const { return reinterpret_cast<const T*>(pages_.data()); }
  [[nodiscard]] T& operator[](std::size_t i) { return data()[i]; }
  [[nodiscard]] const T& operator[](std::size_t i) const { return data()[i]; }
  [[nodiscard]] T& back() { return data()[size_ - 1]; }
  [[nodiscard]] const T& back() const { return data()[size_ - 1]; }
  [[nodiscard]] std::span<const T> span() const { return {data(), size_}; }

  void push_back(const T& value) {
    const T copy = value;  // growing moves the block, and `value` may lie in it
    resize(size_ + 1);
    data()[size_ - 1] = copy;
  }

  /// New entries hold zero bytes, or what was there before the array was cut; nothing is
  /// constructed.
  void resize(std::size_t size) {
    if (size > pages_.capacity() / sizeof(T)) grow(size);
    size_ = size;
  }

  /// Gives the pages back.
  void clear() { *this = PagedArray(); }

 private:
  static constexpr std::size_t kFirstBytes = 16384;

  void grow(std::size_t size) {
    constexpr std::size_t kMax = static_cast<std::size_t>(-1) / (2 * sizeof(T));
    // A quarter more than asked keeps the number of steps logarithmic; untouched pages cost
    // nothing.
    const std::size_t entries = std::max({size, size_ + size_ / 4, kFirstBytes / sizeof(T)});
    if (size > kMax || !pages_.grow(entries * sizeof(T)).has_value()) throw std::bad_alloc();
  }

  platform::PageBuffer pages_;
  std::size_t size_ = 0;
};

}  // namespace mrb::memory
