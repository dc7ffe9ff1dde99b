#include "vfs/grep/grep_words.h"

#include <algorithm>

namespace mrb::vfs {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

/// Where the text in double quotes at the start of `text` ends: the place of the closing quote. A
/// quote behind a backslash closes only where no other one does, and only before a blank: then the
/// text ends in that backslash.
std::size_t ClosingQuote(std::string_view text) {
  std::size_t escaped = text.size();
  for (std::size_t at = 1; at < text.size(); ++at) {
    if (text[at] != '"') continue;
    if (text[at - 1] != '\\') return at;
    const bool ends_word = at + 1 == text.size() || kBlanks.contains(text[at + 1]);
    if (ends_word && escaped == text.size()) escaped = at;
  }
  return escaped;
}

std::string WithoutEscapes(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\\' && at + 1 < text.size() && text[at + 1] == '"') ++at;
    plain += text[at];
  }
  return plain;
}

/// Appends the quoted text at the start of `line`; the bytes it took.
std::size_t TakeQuoted(std::string_view line, std::string& word) {
  if (line[0] == '\'') {
    const std::size_t close = std::min(line.find('\'', 1), line.size());
    word += line.substr(1, close - 1);
    return std::min(close + 1, line.size());
  }
  const std::size_t close = ClosingQuote(line);
  word += WithoutEscapes(line.substr(1, close - 1));
  return std::min(close + 1, line.size());
}

}  // namespace

std::vector<GrepWord> SplitGrepWords(std::string_view line) {
  std::vector<GrepWord> words;
  while (true) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    if (line.empty()) return words;
    GrepWord word;
    word.quoted = line[0] == '"' || line[0] == '\'';
    bool may_quote = true;  // at the start, and behind "=" as in --store="a b"
    while (!line.empty() && !kBlanks.contains(line[0])) {
      if (may_quote && (line[0] == '"' || line[0] == '\'')) {
        line.remove_prefix(TakeQuoted(line, word.text));
        may_quote = false;
        continue;
      }
      may_quote = line[0] == '=' && word.text.starts_with("--");
      word.text += line[0];
      line.remove_prefix(1);
    }
    words.push_back(std::move(word));
  }
}

}  // namespace mrb::vfs
