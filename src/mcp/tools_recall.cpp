#include "mcp/field.h"
#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

constexpr Tool kTools[] = {
    {"memory.models",
     "List the model types that keep topic labels of their own over a context's memos, and whether "
     "each has labelled all of them (CURRENT) or not (BEHIND). Read-only.",
     {kContextField},
     "memory.models mcp, %context%"},
    {"memory.cachekeys",
     "Open a model type's own index of a context: its labels, and a page of memos that it has not "
     "labelled yet, with their text. Label them with memory.cachekey. Example: "
     "{\"context\":\"app\",\"modeltype\":\"opus\",\"page\":20}",
     {kContextField,
      kModelTypeField,
      {"page", FieldType::kWhole, false, "How many unlabelled memos; 20 when absent."},
      kOffsetField},
     "memory.cachekeys mcp, %context%, %modeltype%[, %page%]"},
    {"memory.cachekey",
     "Store labels that you chose for memos: the words by which you would look for them. Example: "
     "{\"context\":\"app\",\"modeltype\":\"opus\",\"keys\":\"@88=storage; build#1=toolchain\"}",
     {kContextField,
      kModelTypeField,
      {"keys", FieldType::kText, true,
       "memo=label pairs separated by ;, a memo as @offset or topic#n."}},
     "memory.cachekey mcp, %context%, %modeltype%, %keys%"},
    {"memory.modelkeywords",
     "Find memos through the labels of one model type. Refused while that type is BEHIND. Example: "
     "{\"context\":\"app\",\"modeltype\":\"opus\",\"query\":\"toolchain\"}",
     {kContextField,
      kModelTypeField,
      {"query", FieldType::kText, true, "The words to look for among the labels."},
      kOffsetField},
     "memory.modelkeywords mcp, %context%, %modeltype%, %query%"},
    {"memory.forgetmodel",
     "Drop a model type's labels from a context. The memos stay.",
     {kContextField, kModelTypeField},
     "memory.forgetmodel mcp, %context%, %modeltype%"},
    {"memory.query",
     "Find the memos of one context by an expression over their fields id, topics, keywords, body "
     "and flags, with | && ! and parentheses; answers topic#n ids for memory.getmemo. Example: "
     "{\"context\":\"app\",\"expression\":\"flags(\\\"decision\\\") && body(\\\"sqlite\\\")\"}",
     {kContextField,
      {"expression", FieldType::kText, true,
       "field(), field(\"glob\") and \"strings\"; equality is ==, or is |, and is &&."},
      kOffsetField},
     "memory.query mcp, %context%, %expression%"},
    {"memory.temporal",
     "Memos that mention a date or a period. Example: "
     "{\"context\":\"app\",\"keyword\":\"2026-09\"}",
     {kContextField,
      {"keyword", FieldType::kText, true, "A year, a month or a day, or words like \"last week\"."},
      kOffsetField},
     "memory.temporal mcp, %context%, %keyword%"},
    {"memory.chain",
     "A topic's memos in the order of the times that they tell of, not of their writing.",
     {kContextField, kTopicField, kOffsetField},
     "memory.chain mcp, %context%, %topic%"},
    {"memory.w5",
     "Who, what, when, where and why of a topic, as its memos tell it.",
     {kContextField, kTopicField, kOffsetField},
     "memory.w5 mcp, %context%, %topic%"},
    {"memory.w5find",
     "The topics that hold a name, a time, a place or a reason. Example: "
     "{\"context\":\"app\",\"web\":\"who\",\"term\":\"ann\"}",
     {kContextField,
      {"web", FieldType::kWord, true, "Which of the four.", "who when where why"},
      {"term", FieldType::kText, true, "What to look for; its beginning is enough."},
      kOffsetField},
     "memory.%web% mcp, %context%, %term%"},
    {"memory.semantic",
     "The memos nearest in meaning to a phrase. Needs the context's semantic lane (memory.embed "
     "on, with a local ollama); memory.keywords works without.",
     {kContextField,
      {"phrase", FieldType::kText, true, "What the memo is about, in your words."},
      kOffsetField},
     "memory.semantic mcp, %context%, %phrase%"},
    {"memory.embed",
     "Switch a context's semantic lane on or off, or ask how it stands.",
     {kContextField, {"state", FieldType::kWord, false, "Absent: status.", "on off status"}},
     "memory.embed mcp, %context%, %state=status%"},
    {"memory.export",
     "Copy a context whole into one file. Example: "
     "{\"context\":\"app\",\"destination\":\"/tmp/app.mrb4\"}",
     {kContextField, {"destination", FieldType::kLine, true, "A file or a folder."}},
     "memory.export mcp, %context%, %destination%"},
    {"memory.import",
     "Add every memo of an exported file to a context; nothing there is replaced.",
     {kContextField, {"source", FieldType::kLine, true, "The file."}},
     "memory.import mcp, %context%, %source%"},
    {"memory.clone",
     "Copy a context into a new, empty one.",
     {kContextField, {"destination", FieldType::kName, true, "The new context's name."}},
     "memory.clone mcp, %context%, %destination%"},
    {"memory.rename",
     "Give a context another name.",
     {kContextField, {"name", FieldType::kName, true, "The new name."}},
     "memory.rename mcp, %context%, %name%"},
    {"memory.archive",
     "Put a context away, out of every listing, or bring it back exactly as it was.",
     {kContextField, {"undo", FieldType::kFlag, false, "true brings an archived context back."}},
     "memory.[un%?undo%]archive mcp, %context%"},
    {"memory.purge",
     "Take a context out of use for good. Its folder is kept aside, not deleted; ask the user "
     "before you do this.",
     {kContextField},
     "memory.purge mcp, %context%"},
    {"memory.indexdir",
     "Make a directory's files findable: each becomes a memo, with its name as the topic. Example: "
     "{\"context\":\"docs\",\"directory\":\"/home/ann/src/app/docs\"}",
     {kContextField, {"directory", FieldType::kLine, true, "The directory."}},
     "memory.indexdir mcp, %context%, %directory%"},
    {"turns",
     "List the last turns of this resident's sessions. Read-only.",
     {kOffsetField},
     "fssys:turns"},
};

}  // namespace

std::span<const Tool> RecallTools() {
  return kTools;
}

}  // namespace mrb::mcp
