#pragma once

#include <string>

namespace mrb::platform {

/// A text that stays the same from one start of the machine to the next one; empty when the system
/// does not tell starts apart.
[[nodiscard]] std::string BootId();

}  // namespace mrb::platform
