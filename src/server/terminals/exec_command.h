#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "server/terminals/marker_scanner.h"
#include "server/terminals/terminal_output.h"

namespace mrb::server {

/// How a command is run in a shell that somebody else may be using too, so that its output, its end
/// and its exit status can be told from what else is on the terminal.

enum class ShellKind : std::uint8_t { kPosix, kPowerShell, kCmd };

/// The kind that `name` says ("posix", "powershell", "cmd"), else the one that the session's
/// command line looks like.
[[nodiscard]] ShellKind ShellKindOf(std::string_view name, std::string_view command_line);

/// A text that no output holds: of the system's tick count and a number of this process's own.
[[nodiscard]] std::string NewMarker();

struct ExecLine {
  std::string text;             ///< to be typed, without the final Enter
  bool several = false;         ///< it is more than one line
  std::string_view first_line;  ///< of the command, as its echo shows it
};

/// `command`, followed by what prints the marker and the exit status. Views into `command`.
[[nodiscard]] ExecLine MakeExecLine(ShellKind kind, std::string_view command_line,
                                    std::string_view command, std::string_view marker);

/// What the command itself printed, of all that came from byte `begin` up to the marker, or to byte
/// `end` when there is none: without the echo of what was typed and the prompt of the status line.
[[nodiscard]] std::string CutExecOutput(const TerminalOutput& output, std::uint64_t begin,
                                        std::uint64_t end, const MarkerScanner& scanner,
                                        const ExecLine& line);

}  // namespace mrb::server
