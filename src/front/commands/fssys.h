#pragma once

#include <string>
#include <string_view>

#include "front/commands/engine.h"

namespace mrb::front {

/// The system namespace, `fssys:<verb>`: the manual, the caller's identity, and what is done to a
/// whole store. `verb` is in lower
/// case.
[[nodiscard]] std::string RunFssys(const Engine& engine, std::string_view name_space,
                                   std::string_view verb, std::string_view arguments);

}  // namespace mrb::front
