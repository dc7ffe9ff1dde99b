#include "mcp/tool_table.h"

#include <algorithm>

namespace mrb::mcp {

std::span<const Field> FieldsOf(const Tool& tool) {
  const auto* end = std::ranges::find_if(tool.fields, &std::string_view::empty, &Field::name);
  return {std::begin(tool.fields), end};
}

const std::vector<const Tool*>& Tools() {
  static const std::vector<const Tool*> kAll = [] {
    std::vector<const Tool*> all;
    for (const auto part :
         {ShellTools(), FileTools(), MemoryTools(), RecallTools(), JobTools(), LiveTools()}) {
      for (const Tool& tool : part) all.push_back(&tool);
    }
    return all;
  }();
  return kAll;
}

const Tool* FindTool(std::string_view name) {
  const auto found = std::ranges::find(Tools(), name, &Tool::name);
  return found == Tools().end() ? nullptr : *found;
}

}  // namespace mrb::mcp
