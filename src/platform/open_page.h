#pragma once

#include <string>

namespace mrb::platform {

/// Opens the page in the user's browser. False when there is none to open it in (no display): the
/// caller then prints the address.
[[nodiscard]] bool OpenPage(const std::string& url);

}  // namespace mrb::platform
