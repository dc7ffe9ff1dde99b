#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mrb::server {

/// The client's side of terminals: it drives the routes under "/term/" of the resident of a port.
struct AttachOptions {
  std::int32_t port = 9999;
  std::string headers;  ///< sent with every request: whole lines with their line ends
};

/// Runs the words behind `mterm`: lists, names and saves, or attaches this console to a terminal,
/// line by line, or key by key with `-r`. Leaving it leaves the terminal running. The exit status.
[[nodiscard]] int RunTerminalClient(const std::vector<std::string>& words,
                                    const AttachOptions& options);

/// Opens a new terminal and attaches to it: key by key at a console, else line by line.
[[nodiscard]] int RunNewTerminal(const std::string& command_line, const AttachOptions& options);

}  // namespace mrb::server
