#include "vfs/verbs/arguments.h"

#include <algorithm>

#include "common/text.h"

namespace mrb::vfs {
namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool IsTagName(std::string_view name) {
  return !name.empty() && std::ranges::all_of(name, [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  });
}

}  // namespace

Arguments::Arguments(std::string_view text) {
  while (!text.empty()) {
    if (IsBlank(text[0])) {
      text.remove_prefix(1);
      continue;
    }
    std::size_t used = text[0] == '<' ? read_tag(text) : 0;
    if (used == 0) used = read_word(text);
    text.remove_prefix(used);
  }
}

/// Bytes of the tag at the start of `text`; 0 when there is none.
std::size_t Arguments::read_tag(std::string_view text) {
  const std::size_t end = text.find('>');
  if (end == std::string_view::npos || !IsTagName(text.substr(1, end - 1))) return 0;
  const std::string_view name = text.substr(1, end - 1);
  const std::string closing = "</" + std::string(name) + ">";
  const std::size_t close = name == "content" ? text.rfind(closing) : text.find(closing, end + 1);
  if (close == std::string_view::npos || close <= end) return 0;
  tags_.emplace(name, text.substr(end + 1, close - end - 1));
  return close + closing.size();
}

std::size_t Arguments::read_word(std::string_view text) {
  if (text[0] == '"') {
    const std::size_t close = text.find('"', 1);
    if (close != std::string_view::npos) {
      words_.emplace_back(text.substr(1, close - 1));
      return close + 1;
    }
  }
  std::size_t end = 0;
  bool quoted = false;  // as in --store="a b"
  while (end < text.size() && (quoted || !IsBlank(text[end]))) quoted ^= text[end++] == '"';
  std::string word(text.substr(0, end));
  if (!word.starts_with("--") || word.size() == 2) {
    words_.push_back(std::move(word));
    return end;
  }
  const std::size_t equals = std::min(word.find('='), word.size());
  std::string value = word.substr(std::min(equals + 1, word.size()));
  if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
    value = value.substr(1, value.size() - 2);
  }
  options_[LowerAscii(std::string_view(word).substr(2, equals - 2))] = std::move(value);
  return end;
}

std::optional<std::string> Arguments::tag(std::string_view name) const {
  const auto found = tags_.find(name);
  if (found == tags_.end()) return std::nullopt;
  return found->second;
}

std::string Arguments::text(std::string_view name, std::size_t word) const {
  if (const auto tagged = tag(name)) return *tagged;
  return word < words_.size() ? words_[word] : std::string();
}

bool Arguments::is_true(std::string_view name) const {
  return EqualsIgnoreCase(Trim(tag(name).value_or("")), "true");
}

std::optional<std::string> Arguments::option(std::string_view name) const {
  const auto found = options_.find(name);
  if (found == options_.end()) return std::nullopt;
  return found->second;
}

std::string Arguments::words_from(std::size_t word) const {
  std::string text;
  for (; word < words_.size(); ++word) text += (text.empty() ? "" : " ") + words_[word];
  return text;
}

}  // namespace mrb::vfs
