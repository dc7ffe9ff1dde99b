#include "platform/page_buffer.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/windows/system_error.h"

// The block lies at the start of a reservation of address space, which costs nothing, and pages are
// committed step by step as the block grows. Only when it outgrows the reservation does it move, by
// copying, into one twice as large.

namespace mrb::platform {
namespace {

constexpr std::size_t kStep = std::size_t{1} << 20U;
constexpr std::size_t kFirstReservation = std::size_t{16} << 20U;
constexpr std::size_t kMax = std::size_t{1} << 46U;  // half of what a process can address

std::size_t RoundUp(std::size_t bytes, std::size_t step) {
  return (bytes + step - 1) / step * step;
}

char* Reserve(std::size_t bytes) {
  return static_cast<char*>(::VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS));
}

bool Commit(char* at, std::size_t bytes) {
  return ::VirtualAlloc(at, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void Free(char* reservation) {
  ::VirtualFree(reservation, 0, MEM_RELEASE);
}

}  // namespace

Status PageBuffer::grow(std::size_t bytes) {
  if (bytes <= capacity_) return {};
  if (bytes > kMax) return Fail(ErrorKind::kNoSpace, "cannot hold that many bytes in memory");
  const std::size_t size = RoundUp(bytes, kStep);
  if (size <= reserved_) {
    if (!Commit(data_ + capacity_, size - capacity_)) {
      return FailLastError("commit", std::to_string(size) + " bytes of memory");
    }
    capacity_ = size;
    return {};
  }
  std::size_t reserved = std::max({kFirstReservation, size, reserved_ * 2});
  char* moved = Reserve(reserved);
  if (moved == nullptr) moved = Reserve(reserved = size);
  if (moved == nullptr) return FailLastError("reserve", std::to_string(size) + " bytes of memory");
  if (!Commit(moved, size)) {
    auto failed = FailLastError("commit", std::to_string(size) + " bytes of memory");
    Free(moved);
    return failed;
  }
  if (data_ != nullptr) {
    std::memcpy(moved, data_, capacity_);
    Free(data_);
  }
  data_ = moved;
  capacity_ = size;
  reserved_ = reserved;
  return {};
}

void PageBuffer::release() noexcept {
  if (data_ != nullptr) Free(data_);
  data_ = nullptr;
  capacity_ = reserved_ = 0;
}

}  // namespace mrb::platform
