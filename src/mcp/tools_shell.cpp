#include <algorithm>

#include "common/answer.h"
#include "common/text.h"
#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

/// Takes an identifier, or what else `is_part` says, off the front; false when there is none.
template <typename Predicate>
bool TakeWhile(std::string_view& text, Predicate is_part) {
  const auto end = std::ranges::find_if_not(text, is_part) - text.begin();
  text.remove_prefix(static_cast<std::size_t>(end));
  return end > 0;
}

bool TakeText(std::string_view& text, std::string_view wanted) {
  text = Trim(text);
  if (!text.starts_with(wanted)) return false;
  text = Trim(text.substr(wanted.size()));
  return true;
}

/// One quoted string, with which the text ends but for `tail`.
bool IsString(std::string_view text, std::string_view tail) {
  if (!text.starts_with('"') || !text.ends_with(tail)) return false;
  text = Trim(text.substr(0, text.size() - tail.size()));
  return text.size() >= 2 && text.find('"', 1) == text.size() - 1;
}

/// field()=="glob" or field("glob").
bool IsFieldAndGlob(std::string_view text) {
  const auto is_part = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  };
  if (!TakeWhile(text, is_part) || !TakeText(text, "(")) return false;
  if (!TakeText(text, ")")) return IsString(text, ")");
  return TakeText(text, "==") && IsString(text, "");
}

std::string_view WithoutQueryMarks(std::string_view text) {
  text = Trim(text);
  if (!text.starts_with("?(") || !text.ends_with(')')) return text;
  return Trim(text.substr(2, text.size() - 3));
}

Result<std::string> BuildQuery(const Arguments& arguments) {
  const std::string_view expression = WithoutQueryMarks(arguments.get("expression"));
  if (!IsFieldAndGlob(expression)) {
    return Fail(ErrorKind::kInvalidArgument,
                ErrorAnswer("full ?( ) expressions don't ride the MCP lane. Give one field and one "
                            "glob, for example name()==\"*.cpp\" or keywords(\"parser\"); memory."
                            "query takes full expressions over a context's memos"));
  }
  std::string command = "?( " + std::string(expression) + " )";
  if (const std::string& store = arguments.get("store"); !store.empty()) {
    command += " --store=" + store;
  }
  return command;
}

Result<std::string> RefuseScript(const Arguments& /*arguments*/) {
  return Fail(ErrorKind::kInvalidArgument,
              ErrorAnswer("v2 script statements don't ride the MCP lane — run the equivalent as "
                          "discrete mrb.run commands."));
}

constexpr Tool kTools[] = {
    {"mrb.run",
     "Run any one Mirebolt command line and get its answer text. Use it for what has no tool of "
     "its own: 'grep pattern' searches the enrolled files, 'fslock:toggle <path>' takes or gives "
     "back a file's lock, '!make test' runs a shell command in the client's folder, 'help' and "
     "'memory.help' print the manuals. Prefer the specific tools: they check their arguments. "
     "Answers begin OK: or ERROR:. Example: {\"command\":\"grep -n TODO src\"}",
     {{"command", FieldType::kText, true, "One command line, e.g. \"fsstat:stats\"."}},
     "%command%"},
    {"mrb.query",
     "List the files of an enrolled directory that match one field and one glob of the ?( ) query "
     "language. Use find for plain name or keyword globs; use this for the other fields. Fields: "
     "name, path, topics, keywords, flags, body, deleted. Example: "
     "{\"expression\":\"body(\\\"TODO\\\")\"}",
     {{"expression", FieldType::kLine, true,
       "field()==\"glob\" or field(\"glob\"); * and ? are wild, upper and lower case are alike."},
      {"store", FieldType::kPath, false,
       "The enrolled directory to search; needed when several are (stores.list names them)."},
      kOffsetField},
     {},
     &BuildQuery},
    {"mrb.script",
     "Script statements are not taken here; the tool answers how to go on. Run each command with "
     "mrb.run instead.",
     {{"script", FieldType::kText, false, "Not run."}},
     {},
     &RefuseScript},
    {"claude.doctor",
     "Check the Claude Code installation that this resident configures and list what is wrong. "
     "Read-only.",
     {},
     "claude:doctor"},
    {"claude.show",
     "Show Claude Code's configuration as this resident sees it. Read-only.",
     {{"section", FieldType::kWord, false, "One section of it, e.g. \"hooks\"."}},
     "claude:show[ %section%]"},
    {"claude.status",
     "One-look state of the Claude Code integration. Read-only.",
     {},
     "claude:status"},
    {"claude.setup",
     "Write Mirebolt's integration into Claude Code's configuration. Changes files; ask the user "
     "first.",
     {},
     "claude:setup"},
    {"config.modules", "List the modules that have settings. Read-only.", {}, "config:modules"},
    {"config.describe",
     "Describe the settings of one module: names, values, meaning. Read-only. Example: "
     "{\"module\":\"vc\"}",
     {{"module", FieldType::kWord, true, "A name that config.modules lists."}},
     "config:describe %module%"},
    {"callsigns.list", "List the call signs given to bots. Read-only.", {}, "callsigns:list"},
    {"callsigns.create",
     "Give a bot a call sign.",
     {{"name", FieldType::kWord, true, "The call sign."}},
     "callsigns:create %name%"},
    {"find",
     "Find versioned files by name or by the words in them, over the enrolled directories. Use it "
     "when you know part of a path or a word that occurs in the file; 'grep' by mrb.run finds the "
     "lines. Globs: * any run, ? one character, case-insensitive. Example: "
     "{\"name\":\"*parser*.cpp\",\"keyword\":\"token*\"}",
     {{"name", FieldType::kWord, false, "Glob for the file's name or path; * when absent."},
      {"keyword", FieldType::kWord, false, "Glob for a word of the file."},
      kOffsetField},
     "find name:%name=*%[ keyword:%keyword%]"},
};

}  // namespace

std::span<const Tool> ShellTools() {
  return kTools;
}

}  // namespace mrb::mcp
