// prompts/list and prompts/get.

#include "common/json_text.h"
#include "mcp/command_pattern.h"
#include "mcp/method.h"
#include "mcp/prompt_table.h"

namespace mrb::mcp {

Outcome ListPrompts(const MethodCall& /*call*/) {
  std::string list = R"({"prompts":[)";
  for (const Prompt& prompt : Prompts()) {
    if (!list.ends_with('[')) list += ',';
    list += "{\"name\":" + JsonString(prompt.name) +
            ",\"description\":" + JsonString(prompt.about) + ",\"arguments\":[";
    for (const Field& field : FieldsOf(prompt)) {
      if (!list.ends_with('[')) list += ',';
      list += "{\"name\":" + JsonString(field.name) +
              ",\"description\":" + JsonString(field.about) +
              (field.required ? ",\"required\":true}" : ",\"required\":false}");
    }
    list += "]}";
  }
  return list + "]}";
}

Outcome GetPrompt(const MethodCall& call) {
  const std::string name = ParamText(call, "name");
  const Prompt* prompt = FindPrompt(name);
  if (prompt == nullptr) return InvalidParams("unknown prompt: " + name);
  Arguments arguments;
  for (const Field& field : FieldsOf(*prompt)) {
    const JsonValue value = call.params.find("arguments").find(field.name);
    if (!value.exists()) {
      if (field.required) return InvalidParams("missing argument: " + std::string(field.name));
      continue;
    }
    auto text = FieldText(field, value);
    if (!text) return InvalidParams(text.error().text);
    arguments.set(field.name, std::move(*text));
  }
  return "{\"description\":" + JsonString(prompt->about) +
         R"(,"messages":[{"role":"user","content":{"type":"text","text":)" +
         JsonString(ExpandPattern(prompt->text, arguments)) + "}}]}";
}

}  // namespace mrb::mcp
