#pragma once

#include <string>
#include <string_view>

#include "mcp/tool.h"

namespace mrb::mcp {

/// The text of a command with places for arguments:
///
///     %name%      the argument
///     %name=x%    the argument, or x when it is absent or empty
///     %?name%     nothing, but it counts as a place
///     [...]       left out when an argument of a place in it is absent or empty; not nested
///
/// So "job.drop %jobid%[%?apply% --apply]" is "job.drop 7 --apply" or "job.drop 7".
[[nodiscard]] std::string ExpandPattern(std::string_view pattern, const Arguments& arguments);

}  // namespace mrb::mcp
