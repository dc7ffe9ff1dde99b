#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/error.h"

namespace mrb::memory {

/// The props word of a record: bits 0 to 15 name the memo's types, bit 31 says that a vector
/// follows its keywords. The bits between are kept as they are found.
inline constexpr std::uint32_t kVectorBit = 1U << 31;

/// The sixteen type names in bit order, joined by "|".
[[nodiscard]] const std::string& MemoTypeNames();

/// The bits of a "|"-joined list of type names, blanks around each ignored; an empty field is 0.
/// The first unknown name is the error's text (kInvalidArgument).
[[nodiscard]] Result<std::uint32_t> ParseMemoTypes(std::string_view field);

/// "unknown memo property '<name>' — valid: " and the names.
[[nodiscard]] std::string UnknownTypeText(std::string_view name);

/// The type names of `props` in bit order, joined by "|"; "untyped" without any.
[[nodiscard]] std::string FormatMemoTypes(std::uint32_t props);
void AppendMemoTypes(std::string& out, std::uint32_t props);

}  // namespace mrb::memory
