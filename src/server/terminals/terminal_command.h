#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/pseudo_console.h"

namespace mrb::server {

/// The file name of a command line's program in lower case: behind its last separator of either
/// kind, without quotes.
[[nodiscard]] std::string ProgramBaseName(std::string_view command_line);

/// With " -i" behind a shell that stands alone: it would not be interactive otherwise.
[[nodiscard]] std::string WithInteractiveFlag(std::string_view command_line);

/// 0 means the default, 120 by 30; columns are kept within 8 to 1000, rows within 4 to 1000.
[[nodiscard]] platform::ConsoleSize ClampSize(std::uint64_t columns, std::uint64_t rows);

/// Whether a session or host can be called so: 1 to 32 of a-z, 0-9, "_" and "-".
[[nodiscard]] bool IsTerminalName(std::string_view name);

}  // namespace mrb::server
