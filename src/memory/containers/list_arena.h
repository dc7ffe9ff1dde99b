#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "memory/containers/paged_array.h"

namespace mrb::memory {

/// Where in a ListArena one list of 32-bit words lies.
struct ListBlock {
  std::uint64_t start = 0;
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;
};

/// Millions of small growing lists in one block of memory. A full list moves to twice the room; the
/// room it leaves is handed to a later list. Spans last until the next change. Not thread-safe.
class ListArena {
 public:
  [[nodiscard]] std::span<const std::uint32_t> list(const ListBlock& block) const {
    return {words_.data() + block.start, block.count};
  }

  void push(ListBlock& block, std::uint32_t word) {
    if (block.count == block.capacity) enlarge(block);
    words_[block.start + block.count++] = word;
  }

  /// Puts `word` in front of the `position`-th word.
  void insert(ListBlock& block, std::size_t position, std::uint32_t word);

  /// Takes the `position`-th word out; those behind it move up.
  void erase(ListBlock& block, std::size_t position);

  /// Appends room for `words` words, to be filled through data(); returns where it starts.
  std::uint64_t extend(std::uint64_t words);

  [[nodiscard]] std::uint32_t* data() { return words_.data(); }

 private:
  void enlarge(ListBlock& block);

  PagedArray<std::uint32_t> words_;
  std::array<std::vector<std::uint64_t>, 32> free_;  // by the power of two that fits in
};

}  // namespace mrb::memory
