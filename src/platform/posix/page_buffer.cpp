#include "platform/page_buffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "platform/posix/system_error.h"

// The block is one anonymous mapping, at least twice as large as what outgrew the last one: pages
// that were never touched cost nothing, so growing is mostly a comparison. The mapping is moved by
// mremap, which moves page tables, not bytes. From kLarge up it begins at a huge page's border and
// asks for huge pages; a smaller one refuses them, or its first byte could cost 2 MiB.

namespace mrb::platform {
namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20U;
constexpr std::size_t kStep = std::size_t{1} << 20U;
constexpr std::size_t kLarge = std::size_t{16} << 20U;
constexpr std::size_t kMax = std::size_t{1} << 46U;  // half of what a process can address

std::size_t RoundUp(std::size_t bytes, std::size_t step) {
  return (bytes + step - 1) / step * step;
}

char* MapPages(std::size_t bytes, int protection) {
  void* pages =
      ::mmap(nullptr, bytes, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return pages == MAP_FAILED ? nullptr : static_cast<char*>(pages);
}

/// Address space for `bytes` that begins at a huge page's border; null when there is none.
char* ReserveAligned(std::size_t bytes) {
  char* room = MapPages(bytes + kHugePage, PROT_NONE);
  if (room == nullptr) return nullptr;
  const auto start = reinterpret_cast<std::uintptr_t>(room);
  const std::size_t head = (kHugePage - start % kHugePage) % kHugePage;
  if (head > 0) ::munmap(room, head);
  if (head < kHugePage) ::munmap(room + head + bytes, kHugePage - head);
  return room + head;
}

/// A readable block of `bytes` whose beginning is the old block, if there is one.
char* MoveInto(char* old, std::size_t old_bytes, std::size_t bytes) {
  char* room = ReserveAligned(bytes);
  if (room == nullptr) return nullptr;
  bool moved = false;
  if (old == nullptr) {
    moved = ::mprotect(room, bytes, PROT_READ | PROT_WRITE) == 0;
  } else {
    moved = ::mremap(old, old_bytes, bytes, MREMAP_MAYMOVE | MREMAP_FIXED, room) != MAP_FAILED;
  }
  if (!moved) {
    ::munmap(room, bytes);
    return nullptr;
  }
  ::madvise(room, bytes, bytes >= kLarge ? MADV_HUGEPAGE : MADV_NOHUGEPAGE);
  return room;
}

}  // namespace

Status PageBuffer::grow(std::size_t bytes) {
  if (bytes <= capacity_) return {};
  if (bytes > kMax) return Fail(ErrorKind::kNoSpace, "cannot hold that many bytes in memory");
  const std::size_t least = RoundUp(bytes, kStep);
  const std::size_t wanted = std::max(least, reserved_ * 2);
  std::size_t size = wanted;
  char* moved = MoveInto(data_, reserved_, size);
  if (moved == nullptr) {
    size = least;
    moved = MoveInto(data_, reserved_, size);
  }
  if (moved == nullptr) return FailErrno("reserve", std::to_string(size) + " bytes of memory");
  data_ = moved;
  capacity_ = reserved_ = size;
  return {};
}

void PageBuffer::release() noexcept {
  if (data_ != nullptr) ::munmap(data_, reserved_);
  data_ = nullptr;
  capacity_ = reserved_ = 0;
}

}  // namespace mrb::platform
