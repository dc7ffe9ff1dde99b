#include "front/commands/plain_language.h"

#include "common/answer.h"
#include "common/text.h"
#include "front/commands/command_text.h"
#include "front/commands/engine.h"

namespace mrb::front {
namespace {

std::string Tagged(std::string_view tag, std::string_view text) {
  std::string out = " <";
  out.append(tag).append(">").append(text).append("</").append(tag).append(">");
  return out;
}

std::string AsGiven(std::string_view target, std::string_view words) {
  std::string command(target);
  if (!words.empty()) command.append(" ").append(words);
  return command;
}

/// A path without the quotes around it.
std::string_view Unquoted(std::string_view path) {
  path = Trim(path);
  const bool quoted = path.size() > 2 && path.starts_with('"') && path.ends_with('"') &&
                      path.find('"', 1) == path.size() - 1;
  return quoted ? path.substr(1, path.size() - 2) : path;
}

/// Where the path at the start of `words` can end at the earliest: behind its quotes or its tag.
std::size_t EndOfMarked(std::string_view words) {
  constexpr std::string_view kClosing = "</path>";
  std::size_t end = 0;
  if (words.starts_with('"')) end = words.find('"', 1) + 1;
  if (words.starts_with("<path>")) end = words.find(kClosing) + kClosing.size();
  return end <= words.size() ? end : 0;
}

/// `read my file.txt`: all of it is the path. What has marks or options of its own stays as it is.
std::string RewritePath(std::string_view target, std::string_view words) {
  words = Trim(words);
  const bool one_word = words.find_first_of(" \t") == std::string_view::npos;
  const bool marked = words.starts_with('"') || words.starts_with('<') || words.starts_with("--") ||
                      words.find(" --") != std::string_view::npos ||
                      words.find(" <") != std::string_view::npos;
  if (one_word || marked) return AsGiven(target, words);
  return std::string(target) + Tagged("path", words);
}

/// `write src/x.cpp content: text`: the first "content:" that stands as a word ends the path.
/// Without one, the text of `write notes.txt hello` would become the end of a file's name.
std::string RewriteContent(std::string_view target, std::string_view words, bool needs_content) {
  constexpr std::string_view kMark = "content:";
  constexpr std::string_view kTag = "<path>";
  const std::size_t marked = EndOfMarked(words);
  const std::string_view behind = Trim(words.substr(marked));
  const bool tagged = marked > 0 && words.starts_with(kTag);
  if (tagged && !behind.starts_with(kMark)) return AsGiven(target, words);
  auto mark = words.find(kMark, marked);
  while (mark != std::string_view::npos && mark > 0 && words[mark - 1] != ' ') {
    mark = words.find(kMark, mark + 1);
  }
  const std::string_view path = Unquoted(words.substr(0, mark));
  if (path.empty()) return {};
  std::string command(target);
  if (tagged) {
    command.append(" ").append(path);
  } else {
    command += Tagged("path", path);
  }
  if (mark == std::string_view::npos) return needs_content ? std::string() : command;
  std::string_view content = words.substr(mark + kMark.size());
  if (content.starts_with(' ')) content.remove_prefix(1);
  return command + Tagged("content", content);
}

/// `copy a to b`: the last " to " divides, so that a source may hold one.
std::string RewriteTo(std::string_view target, std::string_view words, std::string_view first_tag,
                      std::string_view second_tag) {
  constexpr std::string_view kTo = " to ";
  if (words.starts_with('<')) return AsGiven(target, words);
  const auto mark = words.rfind(kTo);
  if (mark == std::string_view::npos) return {};
  const std::string_view first = Unquoted(words.substr(0, mark));
  const std::string_view second = Unquoted(words.substr(mark + kTo.size()));
  if (first.empty() || second.empty()) return {};
  return std::string(target) + Tagged(first_tag, first) + Tagged(second_tag, second);
}

/// `revert p to 3`, and `revert p 3`.
std::string RewriteVersion(std::string_view target, std::string_view words) {
  words = Trim(words);
  const auto blank = words.find_last_of(" \t");
  const bool short_form = blank != std::string_view::npos &&
                          words.find(" to ") == std::string_view::npos &&
                          ParseDecimal(words.substr(blank + 1)).has_value();
  if (!short_form || words.starts_with('<')) return RewriteTo(target, words, "path", "version");
  return std::string(target) + Tagged("path", Unquoted(words.substr(0, blank))) +
         Tagged("version", words.substr(blank + 1));
}

/// The row that a text's first word names. "I …" is one only as `i am <name>`, with nothing behind:
/// people begin sentences so.
const Capability* RowOf(std::string_view text) {
  const CommandText said = SplitCommand(text);
  if (EqualsIgnoreCase(said.head, "i")) {
    const CommandText rest = SplitCommand(said.arguments);
    const bool one_name = !rest.arguments.empty() &&
                          rest.arguments.find_first_of(" \t\r\n") == std::string_view::npos;
    if (!EqualsIgnoreCase(rest.head, "am") || !one_name) return nullptr;
  }
  return FindCapability(said.head);
}

/// What stands behind the first word, as it was written to its last byte.
std::string_view WordsBehind(std::string_view text, const CommandText& said) {
  if (said.arguments.empty()) return {};
  return text.substr(static_cast<std::size_t>(said.arguments.data() - text.data()));
}

/// `i am name` is said with two words.
std::string_view WithoutSecondWord(std::string_view first_word, std::string_view words) {
  if (!EqualsIgnoreCase(first_word, "i")) return words;
  const CommandText rest = SplitCommand(words);
  return EqualsIgnoreCase(rest.head, "am") ? rest.arguments : words;
}

}  // namespace

std::string RewritePhrase(const Capability& row, std::string_view words) {
  switch (row.phrase) {
    case Phrase::kContent:
    case Phrase::kMaybeContent:
      return RewriteContent(row.target, words, row.phrase == Phrase::kContent);
    case Phrase::kFromTo:
      return RewriteTo(row.target, words, "src", "dst");
    case Phrase::kVersion:
      return RewriteVersion(row.target, words);
    case Phrase::kPath:
      return RewritePath(row.target, words);
    case Phrase::kWords:
      break;
  }
  return AsGiven(row.target, Trim(words));
}

bool IsPlainLanguage(std::string_view text) {
  return RowOf(text) != nullptr;
}

PlainCommand ReadPlainLanguage(std::string_view text) {
  const CommandText said = SplitCommand(text);
  const Capability* row = RowOf(text);
  if (row == nullptr) {
    return {.refusal =
                ErrorAnswer("'" + std::string(said.head) +
                            "' is not something I know — Mirebolt help lists what you can say")};
  }
  if (!row->available) return {.refusal = NotInThisBuild(row->name)};
  PlainCommand out{.command =
                       RewritePhrase(*row, WithoutSecondWord(said.head, WordsBehind(text, said)))};
  if (out.command.empty()) out.refusal = ErrorAnswer("usage  " + std::string(row->usage));
  return out;
}

}  // namespace mrb::front
