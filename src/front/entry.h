#pragma once

#include <string>
#include <vector>

namespace mrb::front {

/// The whole program: decides by its arguments (argv[0] first, UTF-8) whether this process is a
/// tool, a client or the resident, and returns the exit status.
[[nodiscard]] int Run(std::vector<std::string> arguments);

}  // namespace mrb::front
