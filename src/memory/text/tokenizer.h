#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "memory/containers/token_list.h"

namespace mrb::memory {

inline constexpr std::size_t kMinTokenBytes = 2;
inline constexpr std::size_t kMaxTokenBytes = 255;  ///< a longer run is no token at all

/// Reads the tokens of a text one after the other, repeats included, in one pass and without
/// allocating: runs of a-z, 0-9 (A-Z folded) and of dots between two such characters, 2 to 255
/// bytes long. Every other byte separates.
class TokenReader {
 public:
  /// `text` outlives the reader.
  explicit TokenReader(std::string_view text) : text_(text) {}

  /// The next token, valid until the next call; nothing at the end of the text.
  [[nodiscard]] std::optional<std::string_view> next();

 private:
  std::string_view text_;
  std::size_t position_ = 0;
  std::array<char, kMaxTokenBytes> token_;
};

/// The one tokenizer: the tokens of `text` in order of first appearance, without duplicates. Common
/// words are tokens like any other.
[[nodiscard]] TokenList StripToTokens(std::string_view text);

/// What a new memo is indexed under: the given keywords as they are (empty ones left out), then the
/// tokens of its content, each name once.
[[nodiscard]] TokenList BuildKeywordList(std::span<const std::string> given,
                                         std::string_view content);

/// Whether `word` is one of the 81 words that carry no subject ("the", "of", ...). The tokenizer
/// keeps them; whoever looks for what a text is about may leave them out.
[[nodiscard]] bool IsCommonWord(std::string_view word);

}  // namespace mrb::memory
