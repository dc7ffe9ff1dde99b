#pragma once

#include <string_view>

#include "common/error.h"

namespace mrb::memory {

/// A context's id is the name of its folder, so it must be a name that every supported system can
/// give to a folder and that a command line can spell in one field.
inline constexpr std::size_t kMaxContextIdBytes = 128;

/// kInvalidArgument with the rule that `id` breaks; the text names the id.
[[nodiscard]] Status CheckContextId(std::string_view id);

}  // namespace mrb::memory
