#pragma once

#include <string_view>

namespace mrb {

inline constexpr std::string_view kAppName = "Mirebolt";
inline constexpr std::string_view kVersion = "2.0.0";

}  // namespace mrb
