#pragma once

#include <string>

#include "server/http_message.h"

namespace mrb::server {

/// The pages that are part of the executable. They run no script and load nothing, and their
/// headers hold a browser to that.

/// What "/" shows when no index.html lies beside the executable.
[[nodiscard]] Response BuiltInIndexPage();

/// What a browser on another machine gets before it has signed in.
[[nodiscard]] Response SignInPage();

}  // namespace mrb::server
