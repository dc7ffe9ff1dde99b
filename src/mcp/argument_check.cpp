#include "mcp/argument_check.h"

#include <algorithm>

#include "common/answer.h"
#include "common/text.h"

namespace mrb::mcp {
namespace {

constexpr std::size_t kMaxNamed = 20;        // of unknown arguments; enough to see the mistake
constexpr std::size_t kMaxNameLength = 100;  // bytes of each

struct Problems {
  std::vector<std::string> missing;
  std::vector<std::string> unknown;
  std::vector<std::string> wrong;

  [[nodiscard]] bool any() const { return !missing.empty() || !unknown.empty() || !wrong.empty(); }
};

std::string Report(const Tool& tool, const Problems& problems) {
  std::string text = "cannot call " + std::string(tool.name) + ".";
  const auto add = [&text](std::string_view what, const std::vector<std::string>& names,
                           std::string_view separator) {
    if (!names.empty()) text.append(what).append(Join(names, separator));
  };
  add(" Missing required argument(s): ", problems.missing, ", ");
  add(" Unknown argument(s): ", problems.unknown, ", ");
  add(" Wrong value(s): ", problems.wrong, "; ");
  std::vector<std::string> takes;
  for (const Field& field : FieldsOf(tool)) takes.emplace_back(field.name);
  return ErrorAnswer(text + " This tool takes: " + Join(takes, ", ") + " — nothing run.");
}

void FindUnknown(const Tool& tool, const JsonValue& given, std::vector<std::string>& unknown) {
  for (const auto& [key, value] : given.members()) {
    if (unknown.size() == kMaxNamed) return;
    const std::string name = key.text();
    const auto known = FieldsOf(tool);
    if (std::ranges::find(known, name, &Field::name) == known.end()) {
      unknown.emplace_back(CutUtf8(name, kMaxNameLength));
    }
  }
}

}  // namespace

Result<Arguments> CheckArguments(const Tool& tool, const JsonValue& given) {
  Arguments arguments;
  Problems problems;
  for (const Field& field : FieldsOf(tool)) {
    const JsonValue value = given.find(field.name);
    if (!value.exists() || value.is(JsonValue::Kind::kNull)) {
      if (field.required) problems.missing.emplace_back(field.name);
      continue;
    }
    auto text = FieldText(field, value);
    if (text) {
      arguments.set(field.name, std::move(*text));
    } else {
      problems.wrong.push_back(std::move(text.error().text));
    }
  }
  FindUnknown(tool, given, problems.unknown);
  if (problems.any()) return Fail(ErrorKind::kInvalidArgument, Report(tool, problems));
  return arguments;
}

}  // namespace mrb::mcp
