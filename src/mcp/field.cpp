#include "mcp/field.h"

#include <algorithm>
#include <optional>

#include "common/json_writer.h"
#include "common/text.h"

namespace mrb::mcp {
namespace {

std::unexpected<Error> Wrong(const Field& field, std::string_view what) {
  return Fail(ErrorKind::kInvalidArgument, std::string(field.name) + " " + std::string(what));
}

bool HoldsAny(std::string_view text, std::string_view bytes) {
  return text.find_first_of(bytes) != std::string_view::npos;
}

/// A list of words is taken for the same words in one text.
std::optional<std::string> JoinedList(const Field& field, const JsonValue& value) {
  std::string text;
  for (const JsonValue& element : value.elements()) {
    if (!element.is(JsonValue::Kind::kString)) return std::nullopt;
    if (!text.empty()) text += field.type == FieldType::kContexts ? "," : " ";
    text += element.text();
  }
  return text;
}

std::optional<std::string> TextOf(const Field& field, const JsonValue& value) {
  using Kind = JsonValue::Kind;
  switch (value.kind()) {
    case Kind::kString:
      return value.text();
    case Kind::kNumber:
      return std::string(value.raw());
    case Kind::kBool:
      return field.type == FieldType::kFlag ? std::optional(std::string(value.raw()))
                                            : std::nullopt;
    case Kind::kArray:
      if (field.type != FieldType::kKeywords && field.type != FieldType::kContexts) break;
      return JoinedList(field, value);
    default:
      break;
  }
  return std::nullopt;
}

std::string Braced(std::string_view names) {
  names = Trim(names);
  if (names == "*" || names.starts_with('{')) return std::string(names);
  return "{" + std::string(names) + "}";
}

bool IsChoice(const Field& field, std::string_view text) {
  if (field.choices.empty()) return true;
  const auto choices = SplitWords(field.choices);
  return std::ranges::find(choices, text) != choices.end();
}

constexpr std::string_view kLineEnds("\r\n\0", 3);

/// The value itself is right for its type; is there something in it that would be read as syntax?
Result<std::string> Checked(const Field& field, std::string text) {
  switch (field.type) {
    case FieldType::kText:
      return text;
    case FieldType::kKeywords:
      std::ranges::replace_if(
          text,
          [](char c) { return std::string_view(",{}\r\n\t").find(c) != std::string_view::npos; },
          ' ');
      return std::string(Trim(text));
    case FieldType::kWhole: {
      const auto number = ParseDecimal(Trim(text));
      if (!number) return Wrong(field, "takes a whole number");
      return std::to_string(*number);
    }
    case FieldType::kFlag:
      if (text != "true" && text != "false") return Wrong(field, "takes true or false");
      return text == "true" ? text : std::string();
    case FieldType::kContexts:
      text = Braced(text);
      if (HoldsAny(text, kLineEnds) || text.find('{', 1) != std::string::npos ||
          (text != "*" && text.find('}') + 1 != text.size())) {
        return Wrong(field, "takes context names separated by commas");
      }
      return text;
    default:
      break;
  }
  if (HoldsAny(text, kLineEnds)) return Wrong(field, "must be one line");
  if (field.type == FieldType::kName && HoldsAny(text, ",{}")) {
    return Wrong(field, "must not hold a comma or a brace");
  }
  if (field.type == FieldType::kWord && HoldsAny(text, " \t\"")) {
    return Wrong(field, "must be one word");
  }
  if (field.type == FieldType::kPath && text.find("</") != std::string::npos) {
    return Wrong(field, "must not hold \"</\"");
  }
  return text;
}

}  // namespace

Result<std::string> FieldText(const Field& field, const JsonValue& value) {
  auto text = TextOf(field, value);
  if (!text) {
    const bool flag = field.type == FieldType::kFlag;
    return Wrong(field, flag ? "takes true or false" : "takes a string");
  }
  if (!IsChoice(field, *text)) {
    return Wrong(field, "is one of: " + Join(
                                            [&] {
                                              std::vector<std::string> names;
                                              for (const auto name : SplitWords(field.choices))
                                                names.emplace_back(name);
                                              return names;
                                            }(),
                                            ", "));
  }
  return Checked(field, std::move(*text));
}

std::string FieldSchema(const Field& field) {
  JsonWriter json;
  json.begin_object();
  if (field.type == FieldType::kWhole) {
    json.field("type", "integer").field("minimum", 0);
  } else {
    json.field("type", field.type == FieldType::kFlag ? "boolean" : "string");
  }
  if (!field.choices.empty()) {
    json.key("enum").begin_array();
    for (const std::string_view choice : SplitWords(field.choices)) json.value(choice);
    json.end_array();
  }
  return json.field("description", field.about).end_object().take();
}

}  // namespace mrb::mcp
