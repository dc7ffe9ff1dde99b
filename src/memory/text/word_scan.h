#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "memory/text/time_words.h"

namespace mrb::memory {

/// One word of a text: a run of letters, digits, "'" and bytes of 128 and above.
struct ScannedWord {
  std::uint32_t begin = 0;
  std::uint32_t end = 0;
  bool capital = false;  ///< begins with A-Z
  bool digit = false;    ///< begins with 0-9
  bool starts_sentence = false;
  WordMeaning meaning;

  [[nodiscard]] std::uint32_t size() const { return end - begin; }
};

/// The words of one text, read once and then looked at from several sides. Keep the object for the
/// next text: it keeps its room.
class WordScan {
 public:
  /// Longer texts are read up to here: positions are 32-bit, and nobody writes such a memo by hand.
  static constexpr std::size_t kMaxText = 0x7FFFFFFF;

  /// `text` stays until the next call.
  void read(std::string_view text);

  [[nodiscard]] std::size_t size() const { return words_.size(); }
  [[nodiscard]] const ScannedWord& operator[](std::size_t i) const { return words_[i]; }
  [[nodiscard]] std::string_view text() const { return text_; }
  [[nodiscard]] std::string_view word(std::size_t i) const {
    return text_.substr(words_[i].begin, words_[i].size());
  }

  /// What stands between word `i` and the next one; up to the text's end behind the last.
  [[nodiscard]] std::string_view gap(std::size_t i) const;

  /// The character before or behind word `i`; 0 at the text's ends.
  [[nodiscard]] char before(std::size_t i) const {
    return words_[i].begin == 0 ? '\0' : text_[words_[i].begin - 1];
  }
  [[nodiscard]] char behind(std::size_t i) const {
    return words_[i].end == text_.size() ? '\0' : text_[words_[i].end];
  }

  /// The meaning of word `i`; nothing special past the end.
  [[nodiscard]] WordMeaning meaning(std::size_t i) const {
    return i < words_.size() ? words_[i].meaning : WordMeaning{};
  }

  /// The sentence around `position`, without the blanks at its ends.
  [[nodiscard]] std::string_view sentence_at(std::uint32_t position) const;

 private:
  std::string_view text_;
  std::vector<ScannedWord> words_;
};

}  // namespace mrb::memory
