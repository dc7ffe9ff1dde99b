#include "vfs/query/field.h"

#include <algorithm>

#include "vfs/query/glob.h"
#include "vfs/query/text_search.h"

namespace mrb::query {
namespace {

struct FieldName {
  std::string_view name;
  Field field;
};

constexpr FieldName kNames[] = {
    {"id", Field::kName},           {"name", Field::kName},
    {"path", Field::kPath},         {"globfile", Field::kPath},
    {"glob", Field::kNameOrPath},   {"topics", Field::kTopics},
    {"keywords", Field::kKeywords}, {"globkeyword", Field::kAnyKeyword},
    {"flags", Field::kFlags},       {"body", Field::kText},
    {"content", Field::kText},      {"deleted", Field::kDeleted},
};

}  // namespace

Field FindField(std::string_view name) {
  const auto* const found = std::ranges::find(kNames, name, &FieldName::name);
  return found == std::end(kNames) ? Field::kUnknown : found->field;
}

Value ReadField(Field field, const Element& element) {
  switch (field) {
    case Field::kName:
      return element.name();
    case Field::kPath:
      return element.path();
    case Field::kTopics:
      return element.topics();
    case Field::kKeywords:
      return element.keywords();
    case Field::kFlags:
      return element.flags();
    case Field::kText:
      return element.text();
    case Field::kDeleted:
      return element.is_deleted();
    case Field::kNameOrPath:
    case Field::kAnyKeyword:
    case Field::kUnknown:
      return false;
  }
  return false;
}

bool FieldMatches(Field field, const Element& element, std::string_view glob) {
  if (field == Field::kText) return TextSearch(glob).found_in(element.text());
  if (field == Field::kNameOrPath) {
    return Matches(glob, element.name()) || Matches(glob, element.path());
  }
  const Value value = ReadField(field == Field::kAnyKeyword ? Field::kKeywords : field, element);
  if (const auto* text = std::get_if<std::string_view>(&value)) return Matches(glob, *text);
  if (const auto* list = std::get_if<List>(&value)) {
    return std::ranges::any_of(*list, [&](std::string_view text) { return Matches(glob, text); });
  }
  return false;
}

}  // namespace mrb::query
