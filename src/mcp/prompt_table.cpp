// prompts/list and prompts/get.

#include "mcp/prompt_table.h"

#include <algorithm>

#include "common/json_writer.h"
#include "mcp/command_pattern.h"
#include "mcp/method.h"

namespace mrb::mcp {

namespace {

constexpr Prompt kPrompts[] = {
    {"resume-session",
     "Pick up the work where the last session stopped, from what memory and file history hold.",
     {{"context", FieldType::kLine, false, "The project's memory context; absent: find it."}},
     "Resume the work on this project from Mirebolt's memory.\n"
     "1. Use the memory context[ '%context%']: if none is named here, call memory.contexts and "
     "take "
     "the one that is named like this project or its folder; if several could be meant, ask me.\n"
     "2. Call memory.recent on it with n=20. Read whole, with memory.retrieve, the topics that the "
     "newest memos belong to, and those of the kinds state, todo, decision and constraint.\n"
     "3. Call stores.list. For the files that those memos speak of, call vc.log, and vc.diff where "
     "there are versions newer than the memo: somebody may have gone on since.\n"
     "4. Tell me in at most ten lines: what was being done, what is decided and why, what is open, "
     "and what you would do next. Say which memo (topic#n) each point comes from, and which memos "
     "the files no longer agree with.\n"
     "Change nothing before I have answered."},
    {"remember-decision",
     "Store a decision with its reason where a later session will look for it.",
     {{"decision", FieldType::kText, true, "What was decided."},
      {"context", FieldType::kLine, false, "The project's memory context; absent: find it."},
      {"topic", FieldType::kLine, false, "The topic to add it to; absent: choose one."}},
     "Store this decision in Mirebolt's memory, so that a session that knows nothing of this one "
     "can follow it:\n\n%decision%\n\n"
     "1. Use the memory context[ '%context%']: if none is named here, this project's from "
     "memory.contexts. Use the topic[ '%topic%']: if none is named here, look with memory.keywords "
     "for what is stored on the subject, and use that topic or a short new name.\n"
     "2. If a memo there says something else, the decision replaces it: use memory.update on that "
     "position. Otherwise use memory.addmemo. Props: decision, and constraint if it forbids "
     "something.\n"
     "3. Write it in three to six plain lines: what is decided; why; what was turned down and why; "
     "what it affects (files, commands); the date. Names as they are in the code, no word that "
     "only "
     "this conversation explains.\n"
     "4. Read it back with memory.getmemo and show me the topic#n and the text."},
    {"review-history",
     "Explain how a file came to be as it is, from its versions.",
     {{"path", FieldType::kLine, true, "The file, in an enrolled directory."},
      {"question", FieldType::kText, false,
       "What to look for, e.g. \"when did the limit change?\""}},
     "Review the history of the file '%path%'[ with this question: %question%].\n"
     "1. Call vc.log on it. If it is not versioned, say so and stop; enroll nothing.\n"
     "2. Group the versions into changes: saves that follow each other closely by one author are "
     "one. Call vc.diff between the borders of each group, newest first, and read an old state "
     "with "
     "vc.open_version where a diff alone does not tell.\n"
     "3. Look for the reasons: memory.keywords with the file's name and the changed names.\n"
     "4. Answer with a short account, newest change first: versions, author, when, what changed "
     "and "
     "why as far as it can be known. Mark guesses. End with anything that looks like an accident: "
     "lost lines, a change that was undone, a version whose bytes came back.\n"
     "Do not revert anything; name the vc.revert call that would."},
};

}  // namespace

std::span<const Prompt> Prompts() {
  return kPrompts;
}

const Prompt* FindPrompt(std::string_view name) {
  const auto* found = std::ranges::find(kPrompts, name, &Prompt::name);
  return found == std::end(kPrompts) ? nullptr : found;
}

std::span<const Field> FieldsOf(const Prompt& prompt) {
  const auto* end = std::ranges::find_if(prompt.fields, &std::string_view::empty, &Field::name);
  return {std::begin(prompt.fields), end};
}

Outcome ListPrompts(const MethodCall& /*call*/) {
  JsonWriter json;
  json.begin_object().key("prompts").begin_array();
  for (const Prompt& prompt : Prompts()) {
    json.begin_object().field("name", prompt.name).field("description", prompt.about);
    json.key("arguments").begin_array();
    for (const Field& field : FieldsOf(prompt)) {
      json.begin_object().field("name", field.name).field("description", field.about);
      json.field("required", field.required).end_object();
    }
    json.end_array().end_object();
  }
  return json.end_array().end_object().take();
}

Outcome GetPrompt(const MethodCall& call) {
  const std::string name = ParamText(call, "name");
  const Prompt* prompt = FindPrompt(name);
  if (prompt == nullptr) return InvalidParams("unknown prompt: " + name);
  Arguments arguments;
  for (const Field& field : FieldsOf(*prompt)) {
    const JsonValue value = call.params.find("arguments").find(field.name);
    if (!value.exists()) {
      if (field.required) return InvalidParams("missing argument: " + std::string(field.name));
      continue;
    }
    auto text = FieldText(field, value);
    if (!text) return InvalidParams(text.error().text);
    arguments.set(field.name, std::move(*text));
  }
  JsonWriter json;
  json.begin_object().field("description", prompt->about).key("messages").begin_array();
  json.begin_object().field("role", "user").key("content").begin_object();
  json.field("type", "text").field("text", ExpandPattern(prompt->text, arguments));
  return json.end_object().end_object().end_array().end_object().take();
}

}  // namespace mrb::mcp
