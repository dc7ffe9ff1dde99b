#pragma once

#include <chrono>
#include <cstddef>

#include "mcp/sized_answer.h"

namespace mrb::chat {
class Hub;
}

namespace mrb::server {
class InterpreterBridge;
class Terminals;
}  // namespace mrb::server

namespace mrb::mcp {

/// What the tools run on; all of it outlives the service.
struct McpOptions {
  server::InterpreterBridge* bridge = nullptr;  ///< must be set
  server::Terminals* terminals = nullptr;       ///< null: the terminal tools say so
  chat::Hub* hub = nullptr;                     ///< null: the chat tools say so
  std::size_t max_answer = kDefaultMaxAnswer;   ///< bytes of a tool's answer text
  std::chrono::milliseconds chat_wait{25'000};  ///< of chat.read, while nothing is said
};

}  // namespace mrb::mcp
