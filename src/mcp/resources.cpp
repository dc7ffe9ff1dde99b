// resources/*: files, contexts, topics, queries and the turn ring by address.

#include <array>
#include <optional>

#include "common/json_writer.h"
#include "common/text.h"
#include "common/url.h"
#include "mcp/command_pattern.h"
#include "mcp/method.h"
#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

constexpr std::string_view kScheme = "mrb:///";
constexpr std::string_view kTurns = "mrb:///turns";
constexpr std::size_t kMaxListed = 500;  // contexts; a client shows no more

struct Template {
  std::string_view uri;
  std::string_view name;
  std::string_view about;
};

constexpr Template kTemplates[] = {
    {"mrb:///file/{path}", "versioned file",
     "The current text of a file of an enrolled directory."},
    {"mrb:///ctx/{context}", "memory context topics", "The topics of a memory context."},
    {"mrb:///ctx/{context}/{topic}", "memo topic", "All memos of one topic, in order."},
    {"mrb:///query/{expr}", "query result",
     "The files that match a ?( ) expression, e.g. name()==\"*.cpp\"."},
    {"mrb:///turns", "turn ring", "The last turns of this resident's sessions."},
};

/// Takes `prefix` off the front of `text`; false when it does not stand there.
bool TakePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

bool IsField(std::string_view text) {
  return !Trim(text).empty() &&
         text.find_first_of(std::string_view("\r\n\0,{}", 6)) == std::string_view::npos;
}

/// The command that reads a context, or a topic of one.
std::optional<std::string> ContextCommand(std::string_view path) {
  const auto slash = path.find('/');
  const std::string context = DecodePercent(path.substr(0, slash));
  if (!IsField(context)) return std::nullopt;
  if (slash == std::string_view::npos) return "memory.browse mcp, " + context;
  const std::string topic = DecodePercent(path.substr(slash + 1));
  if (!IsField(topic)) return std::nullopt;
  return "memory.retrieve mcp, " + context + ", " + topic;
}

std::optional<std::string> CommandOf(std::string_view uri) {
  if (uri == kTurns) return "fssys:turns";
  if (!TakePrefix(uri, kScheme)) return std::nullopt;
  if (TakePrefix(uri, "ctx/")) return ContextCommand(uri);
  const bool file = TakePrefix(uri, "file/");
  if (!file && !TakePrefix(uri, "query/")) return std::nullopt;
  const std::string text = DecodePercent(uri);
  if (file && text.find("</") != std::string::npos) return std::nullopt;
  if (Trim(text).empty() ||
      text.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos) {
    return std::nullopt;
  }
  return file ? "fs:cat " + PlainOrTagged("path", text) : "?( " + text + " )";
}

void AddResource(JsonWriter& json, std::string_view uri, std::string_view name,
                 std::string_view about, std::string_view key) {
  json.begin_object().field(key, uri).field("name", name).field("description", about);
  json.field("mimeType", "text/plain").end_object();
}

}  // namespace

Outcome ListResources(const MethodCall& call) {
  JsonWriter json;
  json.begin_object().key("resources").begin_array();
  AddResource(json, kTurns, kTemplates[4].name, kTemplates[4].about, "uri");
  if (call.http.trusted) {
    for (const std::string& context : ListContexts(call, kMaxListed)) {
      AddResource(json, std::string(kScheme) + "ctx/" + EncodeForm(context), context,
                  kTemplates[1].about, "uri");
    }
  }
  return json.end_array().end_object().take();
}

Outcome ListTemplates(const MethodCall& /*call*/) {
  JsonWriter json;
  json.begin_object().key("resourceTemplates").begin_array();
  for (const Template& one : kTemplates) {
    AddResource(json, one.uri, one.name, one.about, "uriTemplate");
  }
  return json.end_array().end_object().take();
}

Outcome ReadResource(const MethodCall& call) {
  const std::string uri = ParamText(call, "uri");
  const auto command = CommandOf(uri);
  if (!command) return InvalidParams("unknown resource uri: " + uri);
  if (!call.http.trusted) return InvalidParams("this connection may not run commands");
  const std::string answer = RunCommand(call, *command);
  JsonWriter json;
  json.begin_object().key("contents").begin_array().begin_object();
  json.field("uri", uri).field("mimeType", "text/plain");
  json.field("text", SizedAnswer(answer, 0, call.options.max_answer, false));
  return json.end_object().end_array().end_object().take();
}

}  // namespace mrb::mcp
