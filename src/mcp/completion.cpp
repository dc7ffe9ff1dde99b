// completion/complete: values for the arguments of prompts, resource templates and tools.

#include <algorithm>

#include "common/json_writer.h"
#include "common/text.h"
#include "mcp/method.h"
#include "mcp/prompt_table.h"
#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

constexpr std::size_t kMaxValues = 100;  // the protocol's own limit

constexpr std::string_view kMemoTypes =
    "procedure history preference note example foundation protocol usage decision constraint "
    "reference state lesson warning design todo";

/// What arguments of a name stand for, wherever they occur.
enum class Subject : std::uint8_t { kNone, kContext, kTopic, kPath, kMemoType };

struct SubjectRow {
  std::string_view argument;
  Subject subject;
};

constexpr SubjectRow kSubjects[] = {
    {"context", Subject::kContext}, {"topic", Subject::kTopic}, {"path", Subject::kPath},
    {"src", Subject::kPath},        {"dst", Subject::kPath},    {"props", Subject::kMemoType},
};

Subject SubjectOf(std::string_view argument) {
  const auto* row = std::ranges::find(kSubjects, argument, &SubjectRow::argument);
  return row == std::end(kSubjects) ? Subject::kNone : row->subject;
}

std::vector<std::string> WordsWith(std::string_view words, std::string_view prefix) {
  std::vector<std::string> found;
  for (const std::string_view word : SplitWords(words)) {
    if (word.starts_with(prefix)) found.emplace_back(word);
  }
  return found;
}

/// The values that a tool's argument is limited to.
std::string_view ChoicesOf(const MethodCall& call, std::string_view argument) {
  const Tool* tool = FindTool(call.params.find("ref").find("name").text());
  if (tool == nullptr) return {};
  const auto fields = FieldsOf(*tool);
  const auto field = std::ranges::find(fields, argument, &Field::name);
  return field == fields.end() ? std::string_view() : field->choices;
}

std::vector<std::string> Complete(const MethodCall& call, std::string_view argument,
                                  std::string_view value) {
  switch (SubjectOf(argument)) {
    case Subject::kContext:
      return ListContexts(call, kMaxValues, value);
    case Subject::kTopic: {
      const JsonValue given = call.params.find("context").find("arguments");
      return ListTopics(call, given.find("context").text(), kMaxValues, value);
    }
    case Subject::kPath:
      return ListPaths(call, kMaxValues, value);
    case Subject::kMemoType:
      return WordsWith(kMemoTypes, value);
    case Subject::kNone:
      break;
  }
  return WordsWith(ChoicesOf(call, argument), value);
}

}  // namespace

Outcome CompleteArgument(const MethodCall& call) {
  const JsonValue argument = call.params.find("argument");
  if (!call.params.find("ref").is(JsonValue::Kind::kObject) ||
      !argument.find("name").is(JsonValue::Kind::kString)) {
    return InvalidParams("completion/complete needs a ref and an argument");
  }
  std::vector<std::string> values;
  if (call.http.trusted) {
    values = Complete(call, argument.find("name").text(), argument.find("value").text());
  }
  JsonWriter json;
  json.begin_object().key("completion").begin_object().key("values").begin_array();
  for (const std::string& value : values) json.value(value);
  json.end_array().field("total", values.size()).field("hasMore", false);
  return json.end_object().end_object().take();
}

}  // namespace mrb::mcp
