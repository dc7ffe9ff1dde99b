#pragma once

#include <string>

#include "mcp/tool.h"

namespace mrb::mcp {

/// A tool's arguments as a JSON Schema.
[[nodiscard]] std::string InputSchema(const Tool& tool);

/// The result of tools/list; made once.
[[nodiscard]] const std::string& ToolList();

}  // namespace mrb::mcp
