#pragma once

#include <windows.h>

#include <utility>

namespace mrb::platform {

/// Owns one kernel handle. Both values that the system uses for "none" count as none.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) reset(std::exchange(other.handle_, nullptr));
    return *this;
  }
  ~Handle() { reset(nullptr); }

  [[nodiscard]] HANDLE get() const { return handle_; }
  [[nodiscard]] explicit operator bool() const { return handle_ != nullptr; }
  void reset(HANDLE handle) noexcept {
    if (handle_ != nullptr) ::CloseHandle(handle_);
    handle_ = handle;
  }

 private:
  HANDLE handle_ = nullptr;
};

}  // namespace mrb::platform
