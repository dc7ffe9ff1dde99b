#include "memory/text/tokenizer.h"

#include <algorithm>
#include <cstdint>

namespace mrb::memory {

namespace {

constexpr char kSeparator = '\0';

/// Per byte: the character it stands for in a token, or kSeparator. A dot is decided by its
/// neighbours.
constexpr std::array<char, 256> kTokenCharacters = [] {
  std::array<char, 256> table{};
  for (int c = 0; c < 256; ++c) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    const bool upper = c >= 'A' && c <= 'Z';
    const int folded = plain ? c : upper ? c + ('a' - 'A') : kSeparator;
    table[static_cast<std::size_t>(c)] = static_cast<char>(folded);
  }
  return table;
}();

char TokenCharacter(char c) {
  return kTokenCharacters[static_cast<unsigned char>(c)];
}

constexpr std::array<std::string_view, 81> kCommonWords = {
    "a",    "about", "all",   "also", "am",   "an",    "and",   "any",   "are",  "as",   "at",
    "be",   "been",  "but",   "by",   "can",  "did",   "do",    "does",  "for",  "from", "had",
    "has",  "have",  "he",    "her",  "here", "him",   "his",   "how",   "i",    "if",   "in",
    "into", "is",    "it",    "its",  "just", "me",    "more",  "my",    "no",   "not",  "of",
    "off",  "on",    "or",    "our",  "out",  "over",  "she",   "so",    "some", "such", "than",
    "that", "the",   "their", "them", "then", "there", "these", "they",  "this", "to",   "too",
    "up",   "us",    "was",   "we",   "were", "what",  "when",  "which", "who",  "why",  "will",
    "with", "would", "you",   "your"};

static_assert(std::ranges::is_sorted(kCommonWords));

}  // namespace

std::optional<std::string_view> TokenReader::next() {
  const std::size_t end = text_.size();
  while (position_ < end) {
    // Outside a token a dot separates like anything else.
    if (TokenCharacter(text_[position_]) == kSeparator) {
      ++position_;
      continue;
    }
    std::size_t size = 0;
    bool overflow = false;
    for (; position_ < end; ++position_) {
      char c = TokenCharacter(text_[position_]);
      if (c == kSeparator) {
        if (text_[position_] != '.' || position_ + 1 == end ||
            TokenCharacter(text_[position_ + 1]) == kSeparator) {
          break;
        }
        c = '.';
      }
      if (size == kMaxTokenBytes) {
        overflow = true;
      } else {
        token_[size++] = c;
      }
    }
    if (!overflow && size >= kMinTokenBytes) return std::string_view(token_.data(), size);
  }
  return std::nullopt;
}

TokenList StripToTokens(std::string_view text) {
  return BuildKeywordList({}, text);
}

TokenList BuildKeywordList(std::span<const std::string> given, std::string_view content) {
  TokenList list;
  list.reserve_bytes(content.size());
  for (const std::string& keyword : given) {
    if (!keyword.empty()) list.insert(keyword);
  }
  TokenReader reader(content);
  while (const auto token = reader.next()) {
    list.insert(*token);
  }
  return list;
}

bool IsCommonWord(std::string_view word) {
  return std::ranges::binary_search(kCommonWords, word);
}

}  // namespace mrb::memory
