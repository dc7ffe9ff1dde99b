#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mrb {

inline constexpr std::string_view kHexDigits = "0123456789abcdef";

/// `length` of the digits, each drawn by the system's generator: for names that nobody can guess
/// or hit twice. Thread-safe.
[[nodiscard]] std::string RandomText(std::string_view digits, std::size_t length);

}  // namespace mrb
