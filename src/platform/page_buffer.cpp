#include "platform/page_buffer.h"

#include <utility>

namespace mrb::platform {

PageBuffer::PageBuffer(PageBuffer&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      capacity_(std::exchange(other.capacity_, 0)),
      reserved_(std::exchange(other.reserved_, 0)) {}

PageBuffer& PageBuffer::operator=(PageBuffer&& other) noexcept {
  if (this != &other) {
    release();
    data_ = std::exchange(other.data_, nullptr);
    capacity_ = std::exchange(other.capacity_, 0);
    reserved_ = std::exchange(other.reserved_, 0);
  }
  return *this;
}

PageBuffer::~PageBuffer() {
  release();
}

}  // namespace mrb::platform
