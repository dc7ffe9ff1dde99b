#include "memory/containers/list_arena.h"

#include <algorithm>
#include <bit>

namespace mrb::memory {

namespace {
// A list's length is a 32-bit count; the largest power of two below that ends the doubling.
constexpr std::uint32_t kMaxCapacity = 1U << 31;
}  // namespace

std::uint64_t ListArena::extend(std::uint64_t words) {
  const std::uint64_t start = words_.size();
  words_.resize(start + words);
  return start;
}

void ListArena::enlarge(ListBlock& block) {
  if (block.count >= kMaxCapacity) throw std::bad_alloc();
  const std::uint32_t capacity = std::bit_ceil(block.count + 1);
  auto& fitting = free_[static_cast<std::size_t>(std::countr_zero(capacity))];
  std::uint64_t start = 0;
  if (fitting.empty()) {
    start = extend(capacity);
  } else {
    start = fitting.back();
    fitting.pop_back();
  }
  std::copy_n(words_.data() + block.start, block.count, words_.data() + start);
  if (block.capacity > 0) {  // the blocks of a bulk load may have any size
    free_[static_cast<std::size_t>(std::bit_width(block.capacity) - 1)].push_back(block.start);
  }
  block.start = start;
  block.capacity = capacity;
}

void ListArena::insert(ListBlock& block, std::size_t position, std::uint32_t word) {
  push(block, word);
  std::uint32_t* words = words_.data() + block.start;
  std::rotate(words + position, words + block.count - 1, words + block.count);
}

void ListArena::erase(ListBlock& block, std::size_t position) {
  std::uint32_t* words = words_.data() + block.start;
  std::copy(words + position + 1, words + block.count, words + position);
  --block.count;
}

}  // namespace mrb::memory
