#include "mcp/tool_table.h"

#include <algorithm>

#include "common/json_writer.h"
#include "common/text.h"
#include "mcp/command_pattern.h"

namespace mrb::mcp {

namespace {

/// A listing's entries are the lines behind two blanks; two blanks end the name.
std::vector<std::string> Entries(std::string_view answer, std::size_t most,
                                 std::string_view prefix) {
  constexpr std::string_view kIndent = "  ";
  std::vector<std::string> names;
  while (!answer.empty() && names.size() < most) {
    const auto end = std::min(answer.find('\n'), answer.size());
    std::string_view line = answer.substr(0, end);
    answer.remove_prefix(std::min(end + 1, answer.size()));
    if (!line.starts_with(kIndent)) continue;
    line.remove_prefix(kIndent.size());
    const std::string_view name = line.substr(0, line.find(kIndent));
    if (EqualsIgnoreCase(name.substr(0, prefix.size()), prefix)) names.emplace_back(name);
  }
  return names;
}

bool IsOneLine(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

}  // namespace

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

std::string InputSchema(const Tool& tool) {
  JsonWriter json;
  json.begin_object().field("type", "object").key("properties").begin_object();
  bool any_required = false;
  for (const Field& field : FieldsOf(tool)) {
    json.raw_field(field.name, FieldSchema(field));
    any_required = any_required || field.required;
  }
  json.end_object();
  if (any_required) {
    json.key("required").begin_array();
    for (const Field& field : FieldsOf(tool)) {
      if (field.required) json.value(field.name);
    }
    json.end_array();
  }
  return json.end_object().take();
}

const std::string& ToolList() {
  static const std::string kList = [] {
    JsonWriter json;
    json.begin_object().key("tools").begin_array();
    for (const Tool* tool : Tools()) {
      json.begin_object().field("name", tool->name).field("description", tool->about);
      json.raw_field("inputSchema", InputSchema(*tool)).end_object();
    }
    return json.end_array().end_object().take();
  }();
  return kList;
}

std::vector<std::string> ListContexts(const MethodCall& call, std::size_t most,
                                      std::string_view prefix) {
  return Entries(RunCommand(call, "memory.contexts mcp"), most, prefix);
}

std::vector<std::string> ListTopics(const MethodCall& call, std::string_view context,
                                    std::size_t most, std::string_view prefix) {
  if (context.empty() || !IsOneLine(context)) return {};
  return Entries(RunCommand(call, "memory.browse mcp, " + std::string(context)), most, prefix);
}

std::vector<std::string> ListPaths(const MethodCall& call, std::size_t most,
                                   std::string_view prefix) {
  if (!IsOneLine(prefix)) return {};
  const auto slash = prefix.rfind('/');
  const std::string folder(prefix.substr(0, slash == std::string_view::npos ? 0 : slash + 1));
  auto paths = Entries(RunCommand(call, "fsstat:list " + PlainOrTagged("path", folder)), most,
                       prefix.substr(folder.size()));
  for (std::string& path : paths) path.insert(0, folder);
  return paths;
}

}  // namespace mrb::mcp
