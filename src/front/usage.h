#pragma once

#include <array>
#include <string_view>

namespace mrb::front {

/// What `mb` alone prints at a console, with its final line feed.
inline constexpr std::string_view kUsage =
    "Mirebolt (mb) — persistent memory + automatic version control for your code, and a terminal.\n"
    "\n"
    "  mb gui                  open the workstation UI in your browser\n"
    "  mb terminal             open the ride-along terminal\n"
    "  mb grep <pattern>       fast in-RAM search across your versioned trees\n"
    "  mb fs:cat <path>        read a file (every save is auto-versioned)\n"
    "  mb fsvctl:log <path>    version history   .   mb fsvctl:revert <path> <n>   roll back\n"
    "  mb enroll <dir>         put a directory under automatic version control\n"
    "  mb memory.help          persistent-memory verbs\n"
    "  mb fssys:help           the full command manual\n"
    "\n"
    "Claude Code drives all of this automatically over MCP (mb mcp).\n";

/// The words that ask for it and for the version, each alone on the command line.
inline constexpr std::array<std::string_view, 2> kUsageWords{"--help", "-h"};
inline constexpr std::array<std::string_view, 2> kVersionWords{"--version", "-V"};

}  // namespace mrb::front
