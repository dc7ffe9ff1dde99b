#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mrb {

/// Pure helpers over bytes; letters are ASCII only, no locale is consulted.

/// Without the spaces, tabs, carriage returns and line feeds at both ends.
[[nodiscard]] std::string_view Trim(std::string_view text);

/// Without every carriage return and line feed at the end.
[[nodiscard]] std::string_view TrimLineEnd(std::string_view text);

[[nodiscard]] std::string LowerAscii(std::string_view text);

[[nodiscard]] bool EqualsIgnoreCase(std::string_view a, std::string_view b);

/// The pieces between separators, empty ones included; an empty text is one empty piece.
[[nodiscard]] std::vector<std::string_view> Split(std::string_view text, char separator);

/// The pieces between runs of spaces and tabs, none empty.
[[nodiscard]] std::vector<std::string_view> SplitWords(std::string_view text);

/// The whole text as a decimal number: digits only, no sign, no blanks, in range; nothing
/// otherwise.
[[nodiscard]] std::optional<std::uint64_t> ParseDecimal(std::string_view text);

/// Appends the number in decimal, with zeros before it up to `width` digits.
void AppendPadded(std::string& text, std::uint64_t number, std::size_t width);

/// Two hexadecimal digits become their value; -1 for a byte that is none.
[[nodiscard]] int HexDigit(char c);

/// Joins with `separator` between the pieces.
[[nodiscard]] std::string Join(const std::vector<std::string>& pieces, std::string_view separator);

/// Bytes of the valid UTF-8 sequence at the start of `text` (RFC 3629: no surrogates, no overlong
/// forms, at most U+10FFFF), or 0 when the first byte starts none. Empty text: 0.
[[nodiscard]] std::size_t Utf8SequenceLength(std::string_view text);

/// Whether the whole text is valid UTF-8, control characters included.
[[nodiscard]] bool IsUtf8(std::string_view text);

/// Whether the byte is an ASCII control character, DEL included.
[[nodiscard]] constexpr bool IsControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// The longest prefix of at most `limit` bytes that does not cut a UTF-8 sequence; it is not empty
/// when `limit` is at least 4 and the text is not.
[[nodiscard]] std::string_view CutUtf8(std::string_view text, std::size_t limit);

}  // namespace mrb
