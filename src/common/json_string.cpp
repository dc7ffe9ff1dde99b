#include "common/json_string.h"

#include <cstdint>

#include "common/text.h"

namespace mrb {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::size_t kUnitLength = 6;  // "\uXXXX"

/// The UTF-16 unit written as "\uXXXX" at the start of `text`, or -1.
int EscapedUnit(std::string_view text) {
  if (text.size() < kUnitLength || text[0] != '\\' || text[1] != 'u') return -1;
  int unit = 0;
  for (const char c : text.substr(2, 4)) {
    const int digit = HexDigit(c);
    if (digit < 0) return -1;
    unit = unit * 16 + digit;
  }
  return unit;
}

/// Bytes of the escape at the start of `text`, or 0 when JSON knows no such escape.
std::size_t EscapeLength(std::string_view text) {
  if (text.size() < 2) return 0;
  if (text[1] == 'u') return EscapedUnit(text) < 0 ? 0 : kUnitLength;
  return std::string_view("\"\\/bfnrt").contains(text[1]) ? 2 : 0;
}

char ShortEscape(char c) {
  switch (c) {
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return c;
  }
}

void AppendUtf8(std::string& out, std::uint32_t point) {
  const auto tail = [&](unsigned shift) {
    out += static_cast<char>(0x80U | (point >> shift & 0x3FU));
  };
  if (point < 0x80) {
    out += static_cast<char>(point);
  } else if (point < 0x800) {
    out += static_cast<char>(0xC0U | point >> 6U);
    tail(0);
  } else if (point < 0x10000) {
    out += static_cast<char>(0xE0U | point >> 12U);
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0U | point >> 18U);
    tail(12);
    tail(6);
    tail(0);
  }
}

/// Decodes the "\uXXXX" at the start of `text`, with its second half when there is one; answers the
/// bytes used.
std::size_t DecodeUnit(std::string& out, std::string_view text) {
  const auto high = static_cast<std::uint32_t>(EscapedUnit(text));
  if (high < 0xD800 || high > 0xDFFF) {
    AppendUtf8(out, high);
    return kUnitLength;
  }
  const int low = high < 0xDC00 ? EscapedUnit(text.substr(kUnitLength)) : -1;
  if (low < 0xDC00 || low > 0xDFFF) {
    AppendUtf8(out, kReplacement);
    return kUnitLength;
  }
  AppendUtf8(out,
             0x10000U + ((high - 0xD800U) << 10U) + (static_cast<std::uint32_t>(low) - 0xDC00U));
  return 2 * kUnitLength;
}

}  // namespace

std::size_t JsonStringLength(std::string_view text) {
  if (!text.starts_with('"')) return 0;
  std::size_t at = 1;
  while (at < text.size() && text[at] != '"') {
    const auto c = static_cast<unsigned char>(text[at]);
    const std::size_t length = c == '\\' ? EscapeLength(text.substr(at)) : c >= 0x20 ? 1 : 0;
    if (length == 0) return 0;
    at += length;
  }
  return at < text.size() ? at + 1 : 0;
}

std::string DecodeJsonString(std::string_view quoted) {
  const std::string_view text = quoted.substr(1, quoted.size() - 2);
  std::string out;
  out.reserve(text.size());
  std::size_t at = 0;
  while (at < text.size()) {
    const std::string_view rest = text.substr(at);
    if (rest[0] == '\\') {
      if (rest[1] == 'u') {
        at += DecodeUnit(out, rest);
      } else {
        out += ShortEscape(rest[1]);
        at += 2;
      }
      continue;
    }
    const std::size_t length = Utf8SequenceLength(rest);
    if (length == 0) AppendUtf8(out, kReplacement);
    out.append(rest.substr(0, length));
    at += length == 0 ? 1 : length;
  }
  return out;
}

}  // namespace mrb
