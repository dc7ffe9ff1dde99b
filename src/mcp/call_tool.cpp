// tools/list and tools/call.

#include "common/answer.h"
#include "common/text.h"
#include "mcp/argument_check.h"
#include "mcp/command_pattern.h"
#include "mcp/method.h"
#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

bool CanPage(const Tool& tool) {
  for (const Field& field : FieldsOf(tool)) {
    if (field.name == kOffset) return true;
  }
  return false;
}

Outcome AnswerText(const MethodCall& call, const Tool& tool, const Arguments& arguments,
                   std::string_view answer) {
  const std::uint64_t offset = ParseDecimal(arguments.get(kOffset)).value_or(0);
  return ToolResult(SizedAnswer(answer, offset, call.options.max_answer, CanPage(tool)),
                    IsErrorAnswer(answer));
}

/// The command of a call, or the text that stands in for its answer.
Result<std::string> CommandOf(const Tool& tool, const Arguments& arguments) {
  if (!tool.built) {
    return Fail(ErrorKind::kUnavailable,
                ErrorAnswer("'" + std::string(tool.name) + "' is not available in this build"));
  }
  return tool.build != nullptr ? tool.build(arguments) : ExpandPattern(tool.pattern, arguments);
}

std::string RunTool(const MethodCall& call, const Tool& tool, const Arguments& arguments) {
  if (tool.run != nullptr) return tool.run(call, arguments);
  const auto command = CommandOf(tool, arguments);
  return command ? RunCommand(call, *command) : command.error().text;
}

std::string Refusal(std::string_view text) {
  return ToolResult(ErrorAnswer(text), true);
}

}  // namespace

Outcome ListTools(const MethodCall& /*call*/) {
  return ToolList();
}

Outcome CallTool(const MethodCall& call) {
  const JsonValue name = call.params.find("name");
  if (!name.is(JsonValue::Kind::kString)) return InvalidParams("tools/call needs a tool's name");
  const JsonValue given = call.params.find("arguments");
  using Kind = JsonValue::Kind;
  if (given.exists() && !given.is(Kind::kObject) && !given.is(Kind::kNull)) {
    return InvalidParams("arguments must be an object");
  }
  const Tool* tool = FindTool(name.text());
  if (tool == nullptr) {
    return Refusal("unknown tool '" + name.text() + "' — call tools/list");
  }
  if (!call.http.trusted) return Refusal("this connection may not run commands");
  const auto arguments = CheckArguments(*tool, given);
  if (!arguments) return ToolResult(arguments.error().text, true);
  return AnswerText(call, *tool, *arguments, RunTool(call, *tool, *arguments));
}

}  // namespace mrb::mcp
