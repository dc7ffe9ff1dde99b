#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/sockets.h"

namespace mrb::server {

/// What OpenListener() works with, so that two minutes of trying need no clock.
struct ListenHooks {
  std::function<Result<platform::Listener>()> listen;
  /// Waits; false when the server is to stop instead.
  std::function<bool(std::chrono::milliseconds)> pause;
  std::function<void(std::string_view)> log;
};

/// Listens, and when the port is taken tries again every 500 ms for 120 s: the resident that is
/// being replaced may need a moment to let it go. Nothing after a failure, which is logged, or a
/// stop.
[[nodiscard]] std::optional<platform::Listener> OpenListener(std::int32_t port,
                                                             const ListenHooks& hooks);

}  // namespace mrb::server
