#pragma once

#include <string_view>

#include "server/http/http_message.h"

namespace mrb::server {

/// A page that is part of the executable. Such run no script and load nothing, and their headers
/// hold a browser to that.
[[nodiscard]] Response BuiltInPage(std::string_view page);

/// What a browser on another machine gets before it has signed in.
[[nodiscard]] Response SignInPage();

}  // namespace mrb::server
