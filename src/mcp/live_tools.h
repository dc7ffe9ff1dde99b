#pragma once

#include <string>
#include <string_view>

#include "mcp/method.h"
#include "mcp/tool.h"

namespace mrb::mcp {

/// A tool that is no command: it works on the terminals or the chat and answers its text.
using LiveTool = std::string (*)(const MethodCall& call, const Arguments& arguments);

/// Null for a tool that runs a command.
[[nodiscard]] LiveTool FindLiveTool(std::string_view name);

}  // namespace mrb::mcp
