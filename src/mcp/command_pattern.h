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
///     %@name%     the argument in a tag of its name when it could not be told from other words
///     [...]       left out when an argument of a place in it is absent or empty; not nested
///
/// So "job.drop %jobid%[%?apply% --apply]" is "job.drop 7 --apply" or "job.drop 7".
[[nodiscard]] std::string ExpandPattern(std::string_view pattern, const Arguments& arguments);

/// A file verb's argument: plain, or <name>text</name> when it holds a blank, a quote or a "<".
[[nodiscard]] std::string PlainOrTagged(std::string_view name, std::string_view text);

}  // namespace mrb::mcp
