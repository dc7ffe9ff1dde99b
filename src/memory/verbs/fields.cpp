#include "memory/verbs/fields.h"

#include <algorithm>

#include "common/text.h"

namespace mrb::memory {

namespace {

/// Just behind the brace that closes the one at `open`, or `open` + 1 when none does.
std::size_t AfterBraces(std::string_view text, std::size_t open) {
  std::size_t depth = 0;
  for (std::size_t i = open; i < text.size(); ++i) {
    if (text[i] == '{') {
      ++depth;
    } else if (text[i] == '}' && --depth == 0) {
      return i + 1;
    }
  }
  return open + 1;
}

/// The first comma outside braces; npos without one.
std::size_t FindComma(std::string_view text) {
  bool braces = true;  // one unclosed brace tells that the rest holds no list either
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] == ',') return i;
    if (text[i] != '{' || !braces) {
      ++i;
      continue;
    }
    const std::size_t next = AfterBraces(text, i);
    braces = next > i + 1;
    i = next;
  }
  return std::string_view::npos;
}

}  // namespace

std::vector<std::string_view> SplitFields(std::string_view text, std::size_t limit) {
  std::vector<std::string_view> fields;
  while (fields.size() + 1 < limit) {
    const std::size_t comma = FindComma(text);
    if (comma == std::string_view::npos) break;
    fields.push_back(Trim(text.substr(0, comma)));
    text.remove_prefix(comma + 1);
  }
  fields.push_back(Trim(text));
  return fields;
}

std::string_view OptionalField(std::string_view field) {
  return field == "-" ? std::string_view() : field;
}

std::vector<std::string> SplitKeywords(std::string_view field) {
  constexpr std::string_view kBlanks = " \t\r\n";
  std::vector<std::string> keywords;
  std::string_view rest = Trim(OptionalField(field));
  while (!rest.empty()) {
    const std::size_t quote = rest.front() == '"' ? rest.find('"', 1) : std::string_view::npos;
    const bool quoted = quote != std::string_view::npos;
    const std::size_t end = quoted ? quote : std::min(rest.find_first_of(kBlanks), rest.size());
    keywords.emplace_back(quoted ? rest.substr(1, end - 1) : rest.substr(0, end));
    rest = Trim(rest.substr(end + (quoted ? 1 : 0)));
  }
  return keywords;
}

std::vector<std::string> SplitContexts(std::string_view field) {
  if (!field.starts_with('{') || !field.ends_with('}')) {
    return {std::string(field)};
  }
  std::vector<std::string> contexts;
  for (const std::string_view piece : Split(field.substr(1, field.size() - 2), ',')) {
    const std::string_view name = Trim(piece);
    if (std::ranges::find(contexts, name) == contexts.end()) contexts.emplace_back(name);
  }
  return contexts;
}

}  // namespace mrb::memory
