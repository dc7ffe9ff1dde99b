#pragma once

#include <functional>
#include <system_error>
#include <thread>
#include <utility>

namespace mrb {

/// Runs `body` on a new thread that nobody waits for; false, and nothing run, when the system has
/// none to give. Any thread.
[[nodiscard]] inline bool StartDetachedThread(std::function<void()> body) {
  try {
    std::thread(std::move(body)).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace mrb
