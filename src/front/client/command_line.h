#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mrb::front {

/// The words behind argv[0] as one line. `grep`'s own words keep their borders: those that are
/// empty or hold a blank, a tab or a quote go into double quotes, `\"` for a quote inside.
[[nodiscard]] std::string JoinCommandLine(const std::vector<std::string>& arguments);

/// What a command line that is not simply text for the interpreter makes of this process.
enum class Role {
  kCommand,  ///< text for the interpreter
  kMcp,      ///< MCP over the standard streams
  kBoot,     ///< the resident proper; kBootGui also opens the workstation page
  kBootGui,
  kInteractive,     ///< a resident in the foreground, by one of the four GUI words
  kOrchestration,   ///< the same by gui:start or orchestration:start
  kVersionControl,  ///< vc:start: version control alone
};

/// Told by the whole line; gui:start, orchestration:start and vc:start count anywhere in it.
[[nodiscard]] Role RoleOf(std::string_view line);

}  // namespace mrb::front
