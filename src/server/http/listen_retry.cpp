#include "server/http/listen_retry.h"

#include <string>

namespace mrb::server {
namespace {

constexpr std::chrono::milliseconds kRetryPause{500};
constexpr std::chrono::milliseconds kRetryTime{120000};

std::string Seconds(std::chrono::milliseconds time) {
  return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count());
}

std::optional<platform::Listener> Retry(const ListenHooks& hooks) {
  std::chrono::milliseconds elapsed{0};
  while (hooks.pause(kRetryPause)) {
    if (auto listener = hooks.listen()) {
      hooks.log("chat: bind() succeeded after " + Seconds(elapsed) + "s\n");
      return std::move(*listener);
    }
    elapsed += kRetryPause;
    if (elapsed >= kRetryTime) {
      hooks.log(
          "chat: bind() still failing after 120s — another Mirebolt spawn is probably serving. "
          "giving up.\n");
      return std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<platform::Listener> OpenListener(std::int32_t port, const ListenHooks& hooks) {
  auto listener = hooks.listen();
  if (listener) return std::move(*listener);
  const Error& error = listener.error();
  if (error.kind == ErrorKind::kUnavailable) {
    hooks.log("chat: socket() failed\n");
    return std::nullopt;
  }
  if (error.kind != ErrorKind::kBusy) {
    hooks.log("chat: listen() failed\n");
    return std::nullopt;
  }
  hooks.log("chat: bind() on port " + std::to_string(port) + " failed (err " +
            std::to_string(error.system) +
            ") — port in use (TIME_WAIT from a previous instance, or another spawn). retrying for "
            "up to 120s...\n");
  return Retry(hooks);
}

}  // namespace mrb::server
