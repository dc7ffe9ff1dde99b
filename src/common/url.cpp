#include "common/url.h"

#include "common/text.h"

namespace mrb {
namespace {

/// The byte written as "%XX" at the start of `text`, or -1.
int EscapedByte(std::string_view text) {
  if (text.size() < 3 || text[0] != '%') return -1;
  const int high = HexDigit(text[1]);
  const int low = HexDigit(text[2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

std::string Decode(std::string_view text, bool plus_is_blank) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const int byte = EscapedByte(text.substr(at));
    if (byte >= 0) {
      out += static_cast<char>(byte);
      at += 2;
    } else {
      out += plus_is_blank && text[at] == '+' ? ' ' : text[at];
    }
  }
  return out;
}

std::string Encode(std::string_view text, std::string_view plain_signs) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                       (byte >= 'a' && byte <= 'z') ||
                       plain_signs.find(c) != std::string_view::npos;
    if (plain) {
      out += c;
    } else {
      out.append("%").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 15U]);
    }
  }
  return out;
}

}  // namespace

std::string DecodePercent(std::string_view text) {
  return Decode(text, false);
}

std::string DecodeForm(std::string_view text) {
  return Decode(text, true);
}

std::string EncodeForm(std::string_view text) {
  return Encode(text, "-._~");
}

std::string EncodePath(std::string_view path) {
  return Encode(path, "-._~/:");
}

}  // namespace mrb
