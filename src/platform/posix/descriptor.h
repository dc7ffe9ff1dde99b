#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace mrb::platform {

/// Owns one file descriptor.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int handle) : handle_(handle) {}
  Descriptor(Descriptor&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) reset(std::exchange(other.handle_, -1));
    return *this;
  }
  ~Descriptor() { reset(-1); }

  [[nodiscard]] int get() const { return handle_; }
  [[nodiscard]] explicit operator bool() const { return handle_ >= 0; }
  void reset(int handle) noexcept {
    // Not retried after EINTR: Linux has released the number by then.
    if (handle_ >= 0) ::close(handle_);
    handle_ = handle;
  }

 private:
  int handle_ = -1;
};

/// Calls again as long as a signal interrupts it.
template <typename Call>
auto Uninterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace mrb::platform
