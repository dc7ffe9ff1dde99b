#pragma once

#include <string_view>

namespace mrb::query {

/// Whether the whole text fits the glob: "?" is any one byte, "*" any run of them, every other byte
/// itself; ASCII letters fit their other case. Takes at most the product of the two lengths, and no
/// memory.
[[nodiscard]] bool Matches(std::string_view glob, std::string_view text);

}  // namespace mrb::query
