#include "mcp/field.h"
#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

constexpr Tool kTools[] = {
    {"memory.contexts",
     "List the memory contexts with their number of topics and size. Start here: a context named "
     "like the project usually holds what earlier sessions learned.",
     {kOffsetField},
     "memory.contexts mcp"},
    {"memory.browse",
     "List the topics of one context with their number of memos. Example: {\"context\":\"app\"}",
     {kContextField, kOffsetField},
     "memory.browse mcp, %context%"},
    {"memory.add",
     "Remember a text under a topic. REPLACES the topic if it is there: right for a fact that has "
     "one current value; to add to a topic use memory.addmemo. It is on the disk when the answer "
     "comes. Example: {\"context\":\"app\",\"topic\":\"build\",\"content\":\"needs CMake 3.25\"}",
     {kWrittenContextField,
      kTopicField,
      {"content", FieldType::kText, true, "The text to remember; commas and lines are kept."},
      kKeywordsField},
     "memory.add mcp, %context%, %topic%, %keywords=-%, %content%"},
    {"memory.addmemo",
     "Append one memo to a topic's list and keep those before it; the topic is made when missing. "
     "Use it for decisions, lessons, steps, and for anything that adds up. Example: "
     "{\"context\":\"app\",\"topic\":\"storage\",\"content\":\"SQLite refused: no network file "
     "systems\",\"props\":\"decision|constraint\"}",
     {kWrittenContextField,
      kTopicField,
      {"content", FieldType::kText, true, "The text to remember; commas and lines are kept."},
      kKeywordsField,
      kPropsField},
     "memory.addmemo mcp, %context%, %topic%, %keywords=-%, %props=-%, %content%"},
    {"memory.memos",
     "List a topic's memos: position, kind, first line. Then memory.getmemo reads one whole. "
     "Example: {\"context\":\"app\",\"topic\":\"storage\"}",
     {kContextField, kTopicField, kOffsetField},
     "memory.memos mcp, %context%, %topic%"},
    {"memory.getmemo",
     "Read one memo whole, with its kind. Example: "
     "{\"context\":\"app\",\"topic\":\"storage\",\"n\":2}",
     {kContextField, kTopicField, kPositionField, kOffsetField},
     "memory.getmemo mcp, %context%, %topic%, %n%"},
    {"memory.retrieve",
     "Read a whole topic: its memos in the order in which they were added, nothing else. A topic "
     "that is not there is an empty answer. Example: {\"context\":\"app\",\"topic\":\"build\"}",
     {kContextField, kTopicField, kOffsetField},
     "memory.retrieve mcp, %context%, %topic%"},
    {"memory.keywords",
     "Find memos in ONE context by words: hits ranked by how many of the words they have; related "
     "words count less. A miss names the words that memory does hold. The first thing to try when "
     "you look for something. Example: {\"context\":\"app\",\"keyword\":\"release friday\"}",
     {kContextField, {"keyword", FieldType::kText, true, "One or more words."}, kOffsetField},
     "memory.keywords mcp, %context%, %keyword%"},
    {"memory.deletememo",
     "Remove one memo of a topic; those behind it move up. Example: "
     "{\"context\":\"app\",\"topic\":\"storage\",\"n\":2}",
     {kContextField, kTopicField, kPositionField},
     "memory.deletememo mcp, %context%, %topic%, %n%"},
    {"memory.delete",
     "Remove a topic with all its memos. Example: {\"context\":\"app\",\"topic\":\"old-plan\"}",
     {kContextField, kTopicField},
     "memory.delete mcp, %context%, %topic%"},
    {"memory.update",
     "Replace one memo in place: new content, same position. Use it when a fact has changed. "
     "Example: {\"context\":\"app\",\"topic\":\"ports\",\"n\":1,\"content\":\"the API is on "
     "8081\"}",
     {kContextField,
      kTopicField,
      kPositionField,
      {"content", FieldType::kText, true, "The new text."},
      kKeywordsField,
      kPropsField},
     "memory.update mcp, %context%, %topic%, %n%, %keywords=-%, %props=-%, %content%"},
    {"memory.search",
     "Find memos by words in SEVERAL contexts at once, ranked by how many of the words they have. "
     "Example: {\"context\":\"app,infra\",\"query\":\"postgres backup\"}",
     {{"query", FieldType::kText, true, "The words to look for."},
      {"context", FieldType::kContexts, false,
       "Context names separated by commas; absent or *: every context in use."},
      kOffsetField},
     "memory.search mcp, %context=*%, %query%"},
    {"memory.recent",
     "The memos written last in a context, newest first: the quickest way to pick up where an "
     "earlier session stopped. Example: {\"context\":\"app\",\"n\":10}",
     {kContextField, {"n", FieldType::kWhole, false, "How many; 20 when absent."}, kOffsetField},
     "memory.recent mcp, %context%[, %n%]"},
    {"memory.stats",
     "A context in numbers: topics, memos, keywords, bytes, first and last write. Read-only.",
     {kContextField},
     "memory.stats mcp, %context%"},
    {"memory.lint",
     "Check a context's indexes against its records and its file. Read-only; use it when counts "
     "disagree or a memo is missing.",
     {kContextField, kOffsetField},
     "memory.lint mcp, %context%"},
};

}  // namespace

std::span<const Tool> MemoryTools() {
  return kTools;
}

}  // namespace mrb::mcp
