#include "mcp/tool_list.h"

#include "common/json_text.h"
#include "mcp/tool_table.h"

namespace mrb::mcp {

std::string InputSchema(const Tool& tool) {
  std::string properties;
  std::string required;
  for (const Field& field : FieldsOf(tool)) {
    if (!properties.empty()) properties += ',';
    properties += JsonString(field.name) + ":" + FieldSchema(field);
    if (!field.required) continue;
    if (!required.empty()) required += ',';
    required += JsonString(field.name);
  }
  std::string schema = R"({"type":"object","properties":{)" + properties + "}";
  if (!required.empty()) schema += ",\"required\":[" + required + "]";
  return schema + "}";
}

const std::string& ToolList() {
  static const std::string kList = [] {
    std::string list = R"({"tools":[)";
    for (const Tool* tool : Tools()) {
      if (!list.ends_with('[')) list += ',';
      list += "{\"name\":" + JsonString(tool->name) +
              ",\"description\":" + JsonString(tool->about) +
              ",\"inputSchema\":" + InputSchema(*tool) + "}";
    }
    return list + "]}";
  }();
  return kList;
}

}  // namespace mrb::mcp
