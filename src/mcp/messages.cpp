#include "mcp/messages.h"

#include "common/json_writer.h"

namespace mrb::mcp {
namespace {

constexpr std::size_t kEnvelope = 80;  // bytes around what a message carries, at most

}  // namespace

std::string ResultMessage(std::string_view id, std::string_view result) {
  JsonWriter json(result.size() + id.size() + kEnvelope);
  json.begin_object().field("jsonrpc", "2.0").raw_field("id", id).raw_field("result", result);
  return json.end_object().take();
}

std::string ErrorMessage(std::string_view id, const RpcError& error) {
  JsonWriter json;
  json.begin_object().field("jsonrpc", "2.0").raw_field("id", id).key("error").begin_object();
  json.field("code", error.code).field("message", error.message);
  return json.end_object().end_object().take();
}

std::string ToolResult(std::string_view text, bool is_error) {
  JsonWriter json(text.size() + kEnvelope);
  json.begin_object().key("content").begin_array();
  json.begin_object().field("type", "text").field("text", text).end_object();
  return json.end_array().field("isError", is_error).end_object().take();
}

}  // namespace mrb::mcp
