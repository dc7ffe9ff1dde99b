#pragma once

#include <cstdint>
#include <string_view>

#include "vfs/query/element.h"
#include "vfs/query/value.h"

namespace mrb::query {

enum class Field : std::uint8_t {
  kName,
  kPath,
  kNameOrPath,
  kTopics,
  kKeywords,
  kAnyKeyword,
  kFlags,
  kText,
  kDeleted,
  kUnknown,
};

/// The field of that name, in this spelling; kUnknown when there is none.
[[nodiscard]] Field FindField(std::string_view name);

/// Whether its value is made from the element's text.
[[nodiscard]] constexpr bool ReadsText(Field field) {
  return field == Field::kText || field == Field::kKeywords || field == Field::kAnyKeyword;
}

/// The field's value; false for one that has none without an argument.
[[nodiscard]] Value ReadField(Field field, const Element& element);

/// Whether the field matches a glob: all of a name, any element of a list, any part of the text.
/// False for a field that takes no argument.
[[nodiscard]] bool FieldMatches(Field field, const Element& element, std::string_view glob);

}  // namespace mrb::query
