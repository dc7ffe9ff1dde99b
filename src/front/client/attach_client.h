#pragma once

#include <string>
#include <vector>

#include "front/client/attachment.h"

namespace mrb::front {

/// Runs the words behind `mterm`: lists, names and saves, or attaches this console to a terminal,
/// line by line, or key by key with `-r`. Leaving it leaves the terminal running. The exit status.
[[nodiscard]] int RunTerminalClient(const std::vector<std::string>& words,
                                    const AttachOptions& options);

/// Opens a new terminal and attaches to it: key by key at a console, else line by line.
[[nodiscard]] int RunNewTerminal(const std::string& command_line, const AttachOptions& options);

}  // namespace mrb::front
