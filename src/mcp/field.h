#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/error.h"
#include "common/json_scan.h"

namespace mrb::mcp {

/// What may stand in an argument, so that no value can end the field it is written into and become
/// a part of the command.
enum class FieldType : std::uint8_t {
  kText,      ///< anything: the last field of its command
  kLine,      ///< one line
  kPath,      ///< one line without "</", which would end a tagged argument
  kName,      ///< one line without comma or brace: a field of a memory command
  kContexts,  ///< one or more context names; becomes "{a,b}", and "*" stays
  kKeywords,  ///< commas and line ends become blanks
  kWord,      ///< one line without blanks
  kWhole,     ///< a whole number of 0 or more
  kFlag,      ///< true or false
};

/// One property of a tool's arguments.
struct Field {
  std::string_view name;
  FieldType type = FieldType::kText;
  bool required = false;
  std::string_view about = {};    ///< for a reader who has never seen the product
  std::string_view choices = {};  ///< the only values, between blanks; empty: any
};

/// The value as it stands in a command. A flag is "true" or empty. kInvalidArgument with what is
/// wrong, beginning with the field's name. Of what clients get wrong, the harmless is understood: a
/// number for a text, a text for a number, a list of words for a text of words.
[[nodiscard]] Result<std::string> FieldText(const Field& field, const JsonValue& value);

/// The field's JSON Schema: an object.
[[nodiscard]] std::string FieldSchema(const Field& field);

}  // namespace mrb::mcp
