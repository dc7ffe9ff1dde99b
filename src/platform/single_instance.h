#pragma once

#include <cstdint>
#include <memory>

namespace mrb::platform {

/// The machine-wide mark "the resident of this port". Kept until the object or the process ends.
class SingleInstance {
 public:
  SingleInstance(SingleInstance&&) noexcept;
  SingleInstance& operator=(SingleInstance&&) noexcept;
  ~SingleInstance();

  /// held() tells whether this process has the mark now. When the system cannot even make one, it
  /// counts as held: a machine without locks still gets a resident.
  [[nodiscard]] static SingleInstance acquire(std::int32_t port);

  [[nodiscard]] bool held() const { return held_; }

 private:
  struct Handle;
  SingleInstance(std::unique_ptr<Handle> handle, bool held);
  std::unique_ptr<Handle> handle_;
  bool held_ = false;
};

}  // namespace mrb::platform
