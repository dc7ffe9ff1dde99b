#pragma once

#include <string>
#include <string_view>

#include "front/engine.h"

namespace mrb::front {

/// Runs a verb of one of the namespaces of versioned files for the caller of the present thread.
[[nodiscard]] std::string RunFiles(const Engine& engine, std::string_view name_space,
                                   std::string_view verb, std::string_view arguments);

}  // namespace mrb::front
