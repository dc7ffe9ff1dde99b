#pragma once

#include <string>

#include "mcp/method.h"
#include "mcp/tool.h"

namespace mrb::mcp {

/// The tools of the chat. An agent's callsign is what its client calls itself, with a number behind
/// it when that is taken.
[[nodiscard]] std::string SayInChat(const MethodCall& call, const Arguments& arguments);
[[nodiscard]] std::string ReadChat(const MethodCall& call, const Arguments& arguments);

}  // namespace mrb::mcp
