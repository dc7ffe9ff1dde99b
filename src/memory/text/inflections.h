#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mrb::memory {

/// Which words count as forms of one another. Pure, on ASCII lower-case words.

/// A word shorter than this is no base of an inflection ("as" is not the plural of "a").
inline constexpr std::size_t kMinBaseBytes = 3;
/// Letters that must remain when dots and digits are taken out of a token.
inline constexpr std::size_t kMinBareBytes = 2;

/// Longer tokens, and those whose letters dots and digits interrupt more often, are identifiers
/// that mean one thing only, not words with forms.
inline constexpr std::size_t kMaxWordBytes = 32;
inline constexpr std::size_t kMaxCuts = 2;

/// The words whose simple inflection `word` may be and those that may be its own, in a fixed order:
/// plural -s, -es and -ies, -ing and -ed, a final e dropped. Empty unless the word is all letters.
void AppendInflections(std::string_view word, std::vector<std::string>& out);

/// `word` without dots and digits ("v1.2rc" is "vrc"); empty when too little remains.
[[nodiscard]] std::string BareForm(std::string_view word);

}  // namespace mrb::memory
