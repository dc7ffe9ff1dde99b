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

/// The arguments that many memory tools share.

inline constexpr Field kContextField{
    "context", FieldType::kName, true,
    "The context: a named set of topics, say one per project. memory.contexts lists them."};
inline constexpr Field kWrittenContextField{
    "context", FieldType::kContexts, true,
    "The context to write to; it is made when missing. Several, separated by commas, get it each."};
inline constexpr Field kTopicField{"topic", FieldType::kName, true,
                                   "The topic's name, e.g. \"build\" or \"deploy-steps\"."};
inline constexpr Field kPositionField{"n", FieldType::kWhole, true,
                                      "The memo's position in its topic, from 1: topic#n."};
inline constexpr Field kKeywordsField{
    "keywords", FieldType::kKeywords, false,
    "Further words to find it by, separated by blanks or commas. Usually not needed: the words of "
    "the content and the topic are keywords already."};
inline constexpr Field kPropsField{
    "props", FieldType::kName, false,
    "What kind of memo: procedure, history, preference, note, example, foundation, protocol, "
    "usage, "
    "decision, constraint, reference, state, lesson, warning, design, todo; several joined by |."};
inline constexpr Field kModelTypeField{
    "modeltype", FieldType::kName, true,
    "The model type whose own topic labels are meant; \"local\" is the calling bot's."};

}  // namespace mrb::mcp
