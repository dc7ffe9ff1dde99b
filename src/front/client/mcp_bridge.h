#pragma once

#include <cstdint>
#include "front/client/hand_off.h"

namespace mrb::front {

/// Relays MCP messages, one a line, from standard input to the resident's POST /mcp and the answers
/// to standard output, until the input ends; an empty answer body prints nothing. Messages go to a
/// listener that is the user's own resident, and to nobody else who holds its port. When the
/// resident has gone away it is brought up again once per message. A message that still cannot be
/// delivered, whose answer was cut off, refused or is no JSON, is answered with a JSON-RPC error
/// under its own id, so that no client waits for ever and no message runs twice. Returns the exit
/// status.
[[nodiscard]] int McpBridge(const Target& target, const ResidentStart& start);

}  // namespace mrb::front
