#pragma once

#include <string>
#include <vector>

namespace mrb::platform {

/// The arguments as one command line that Windows splits into exactly these again (the rules of
/// CommandLineToArgvW). The first, the program, is always quoted and must hold no quote itself.
[[nodiscard]] std::string WindowsCommandLine(const std::vector<std::string>& arguments);

}  // namespace mrb::platform
