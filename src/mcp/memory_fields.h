#pragma once

#include "mcp/field.h"

namespace mrb::mcp {

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
