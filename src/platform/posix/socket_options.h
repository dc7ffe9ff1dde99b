#pragma once

#include "platform/sockets.h"

namespace mrb::platform {

/// Sets SO_RCVTIMEO or SO_SNDTIMEO.
[[nodiscard]] Status SetSocketTimeout(int fd, int option, Milliseconds timeout);

}  // namespace mrb::platform
