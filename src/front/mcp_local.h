#pragma once

#include <cstddef>

#include "front/homes.h"

namespace mrb::front {

/// Bytes of a tool's answer: the setting mcp.maxanswer, or the usual number.
[[nodiscard]] std::size_t MaxToolAnswer(const Homes& homes);

/// Serves MCP over the standard streams in this process, for a port that another program holds.
/// Without terminals and chat, which live in a resident. Returns the exit status.
[[nodiscard]] int RunMcpLocal(const Homes& homes);

}  // namespace mrb::front
