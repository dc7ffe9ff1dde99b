#pragma once

#include <string>

#include "mcp/tool.h"

namespace mrb::mcp {

/// Checks a call's "arguments" (an object, or missing) against the tool's fields, so that a command
/// runs only when the caller meant it as it stands. kInvalidArgument: an answer text that names
/// every missing, unknown and wrong argument and what the tool takes. An argument that is null
/// counts as absent.
[[nodiscard]] Result<Arguments> CheckArguments(const Tool& tool, const JsonValue& given);

}  // namespace mrb::mcp
