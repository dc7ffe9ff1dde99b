#include "mcp/messages.h"

#include "common/json_text.h"

namespace mrb::mcp {

std::string ResultMessage(std::string_view id, std::string_view result) {
  std::string text;
  text.reserve(result.size() + id.size() + 40);
  text.append(R"({"jsonrpc":"2.0","id":)").append(id);
  return text.append(",\"result\":").append(result).append("}");
}

std::string ErrorMessage(std::string_view id, const RpcError& error) {
  return std::string(R"({"jsonrpc":"2.0","id":)")
      .append(id)
      .append(",\"error\":{\"code\":")
      .append(std::to_string(error.code))
      .append(",\"message\":")
      .append(JsonString(error.message))
      .append("}}");
}

std::string ToolResult(std::string_view text, bool is_error) {
  std::string result = R"({"content":[{"type":"text","text":")";
  AppendJsonEscaped(result, text);
  return result.append("\"}],\"isError\":").append(is_error ? "true}" : "false}");
}

}  // namespace mrb::mcp
