#pragma once

#include <expected>
#include <string>
#include <string_view>

namespace mrb::mcp {

/// A failure of the protocol, not of a tool: a tool's failure is an answer text that the model
/// sees.
struct RpcError {
  int code = 0;
  std::string message;
};

inline constexpr int kInvalidRequest = -32600;
inline constexpr int kMethodNotFound = -32601;
inline constexpr int kInvalidParams = -32602;
inline constexpr int kInternalError = -32603;

/// What a method answers: the result's JSON text.
using Outcome = std::expected<std::string, RpcError>;

[[nodiscard]] inline std::unexpected<RpcError> InvalidParams(std::string message) {
  return std::unexpected(RpcError{kInvalidParams, std::move(message)});
}

/// One JSON-RPC answer. `id` is JSON text, as the request had it.
[[nodiscard]] std::string ResultMessage(std::string_view id, std::string_view result);
[[nodiscard]] std::string ErrorMessage(std::string_view id, const RpcError& error);

/// The result of tools/call: an answer text that begins "ERROR:" is the tool's failure.
[[nodiscard]] std::string ToolResult(std::string_view text, bool is_error);

}  // namespace mrb::mcp
