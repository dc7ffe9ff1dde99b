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

/// `write src/x.cpp content: text`: the first "content:" that stands as a word ends the path.
/// Without one, the text of `write notes.txt hello` would become the end of a file's name.
std::string RewriteContent(std::string_view target, std::string_view words, bool needs_content) {
  constexpr std::string_view kMark = "content:";
  auto mark = words.find(kMark);
  while (mark != std::string_view::npos && mark > 0 && words[mark - 1] != ' ') {
    mark = words.find(kMark, mark + 1);
  }
  const std::string_view path = Trim(words.substr(0, mark));
  if (path.empty()) return {};
  std::string command(target);
  command += Tagged("path", path);
  if (mark == std::string_view::npos) return needs_content ? std::string() : command;
  std::string_view content = words.substr(mark + kMark.size());
  if (content.starts_with(' ')) content.remove_prefix(1);
  return command + Tagged("content", content);
}

/// `copy a to b`: the last " to " divides, so that a source may hold one.
std::string RewriteTo(std::string_view target, std::string_view words, std::string_view first_tag,
                      std::string_view second_tag) {
  constexpr std::string_view kTo = " to ";
  const auto mark = words.rfind(kTo);
  if (mark == std::string_view::npos) return {};
  const std::string_view first = Trim(words.substr(0, mark));
  const std::string_view second = Trim(words.substr(mark + kTo.size()));
  if (first.empty() || second.empty()) return {};
  return std::string(target) + Tagged(first_tag, first) + Tagged(second_tag, second);
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
      return RewriteTo(row.target, words, "path", "version");
    case Phrase::kWords:
      break;
  }
  std::string command(row.target);
  if (!words.empty()) command.append(" ").append(words);
  return command;
}

bool IsPlainLanguage(std::string_view text) {
  return FindCapability(SplitCommand(text).head) != nullptr;
}

PlainCommand ReadPlainLanguage(std::string_view text) {
  const CommandText said = SplitCommand(text);
  const Capability* row = FindCapability(said.head);
  if (row == nullptr) {
    return {.refusal =
                ErrorAnswer("'" + std::string(said.head) +
                            "' is not something I know — Mirebolt help lists what you can say")};
  }
  if (!row->available) return {.refusal = NotInThisBuild(row->name)};
  PlainCommand out{.command = RewritePhrase(*row, WithoutSecondWord(said.head, said.arguments))};
  if (out.command.empty()) out.refusal = ErrorAnswer("usage  " + std::string(row->usage));
  return out;
}

}  // namespace mrb::front
