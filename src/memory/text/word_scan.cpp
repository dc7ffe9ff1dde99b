#include "memory/text/word_scan.h"

#include <array>

#include "common/text.h"

namespace mrb::memory {

namespace {

enum Class : unsigned char { kSeparator, kLetter, kCapital, kDigit };

constexpr auto Classes() {
  std::array<Class, 256> table{};
  for (unsigned c = 0; c < 256; ++c) {
    const bool letter = (c >= 'a' && c <= 'z') || c == '\'' || c >= 128;
    table[c] = letter                 ? kLetter
               : c >= 'A' && c <= 'Z' ? kCapital
               : c >= '0' && c <= '9' ? kDigit
                                      : kSeparator;
  }
  return table;
}

constexpr auto kClasses = Classes();

Class ClassOf(char c) {
  return kClasses[static_cast<unsigned char>(c)];
}

/// A full stop ends a sentence when no word follows it at once ("v1.2", "e.g. this").
bool EndsSentence(std::string_view text, std::size_t at) {
  const char c = text[at];
  if (c == '\n') return true;
  const bool mark = c == '.' || c == '!' || c == '?';
  return mark && (at + 1 == text.size() || ClassOf(text[at + 1]) == kSeparator);
}

/// The meaning of a word in any letter case.
WordMeaning MeaningInAnyCase(std::string_view word) {
  constexpr std::size_t kMaxLength = 9;
  if (word.size() > kMaxLength) {
    return {};
  }
  std::array<char, kMaxLength> lower;
  for (std::size_t i = 0; i < word.size(); ++i) {
    lower[i] = ClassOf(word[i]) == kCapital ? static_cast<char>(word[i] + 32) : word[i];
  }
  return MeaningOf({lower.data(), word.size()});
}

}  // namespace

void WordScan::read(std::string_view text) {
  text_ = text.substr(0, kMaxText);
  words_.clear();
  bool sentence = true;
  for (std::size_t i = 0; i < text_.size();) {
    const Class first = ClassOf(text_[i]);
    if (first == kSeparator) {
      sentence = sentence || EndsSentence(text_, i);
      ++i;
      continue;
    }
    ScannedWord word;
    word.begin = static_cast<std::uint32_t>(i);
    while (i < text_.size() && ClassOf(text_[i]) != kSeparator) {
      ++i;
    }
    word.end = static_cast<std::uint32_t>(i);
    word.capital = first == kCapital;
    word.digit = first == kDigit;
    word.starts_sentence = sentence;
    word.meaning =
        word.digit ? WordMeaning{} : MeaningInAnyCase(text_.substr(word.begin, word.size()));
    words_.push_back(word);
    sentence = false;
  }
}

std::string_view WordScan::gap(std::size_t i) const {
  const std::size_t from = words_[i].end;
  const std::size_t to = i + 1 < words_.size() ? words_[i + 1].begin : text_.size();
  return text_.substr(from, to - from);
}

std::string_view WordScan::sentence_at(std::uint32_t position) const {
  std::size_t from = position;
  while (from > 0 && !EndsSentence(text_, from - 1)) {
    --from;
  }
  std::size_t to = position;
  while (to < text_.size() && !EndsSentence(text_, to)) {
    ++to;
  }
  if (to < text_.size() && text_[to] != '\n') {
    ++to;  // its mark belongs to it
  }
  return Trim(text_.substr(from, to - from));
}

}  // namespace mrb::memory
