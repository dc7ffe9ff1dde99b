#pragma once

#include <cstdint>
#include <string>

namespace mrb::platform {

/// The account of a user number in the system's list, else "uid N". For a text. Thread-safe.
[[nodiscard]] std::string UserName(std::uint32_t uid);

}  // namespace mrb::platform
