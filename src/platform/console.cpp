#include "platform/console.h"

#include <utility>

#include "platform/stdin_bytes.h"

namespace mrb::platform {
namespace {

/// Read, but not yet handed out.
std::string& UnreadInput() {
  static std::string buffer;
  return buffer;
}

}  // namespace

bool AwaitStdin(std::chrono::milliseconds wait) {
  return UnreadInput().find('\n') != std::string::npos || AwaitStdinBytes(wait);
}

std::optional<std::string> ReadStdinLine() {
  std::string& buffer = UnreadInput();
  std::size_t searched = 0;
  for (;;) {
    const auto end = buffer.find('\n', searched);
    if (end != std::string::npos) {
      std::string line = buffer.substr(0, end + 1);
      buffer.erase(0, end + 1);
      return line;
    }
    searched = buffer.size();
    if (!ReadStdin(buffer)) break;
  }
  if (buffer.empty()) return std::nullopt;
  return std::exchange(buffer, {});
}

}  // namespace mrb::platform
