#pragma once

#include <cstddef>
#include <string_view>

namespace mrb::vfs {

/// Letters, digits, "_" and whatever is not ASCII make words.
[[nodiscard]] constexpr bool IsWordByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

/// Calls `found` for every word of a text, in order, until it returns false.
template <typename Found>
void ForEachWord(std::string_view text, Found found) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::size_t begin = at;
    while (at < text.size() && IsWordByte(text[at])) ++at;
    if (at > begin && !found(text.substr(begin, at - begin))) return;
  }
}

}  // namespace mrb::vfs
