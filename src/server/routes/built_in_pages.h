#pragma once

#include "server/http/http_message.h"

namespace mrb::server {

/// What "/" shows when no index.html lies beside the executable.
[[nodiscard]] Response BuiltInIndexPage();

}  // namespace mrb::server
