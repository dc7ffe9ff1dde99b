#include "platform/sockets.h"

namespace mrb::platform {

Status Socket::send_all(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = send(bytes);
    if (!sent) return std::unexpected(sent.error());
    bytes.remove_prefix(*sent);
  }
  return {};
}

}  // namespace mrb::platform
