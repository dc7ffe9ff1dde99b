#include "common/json_writer.h"

#include <cstdint>
#include <cstring>

#include "common/text.h"
#include "common/url.h"

namespace mrb {

namespace {

void AppendEscape(std::string& out, unsigned char c) {
  static constexpr char kHex[] = "0123456789abcdef";
  switch (c) {
    case '"':
      out += "\\\"";
      return;
    case '\\':
      out += "\\\\";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default:
      out += "\\u00";
      out += kHex[c >> 4U];
      out += kHex[c & 15U];
  }
}

bool IsPlain(unsigned char c) {
  return c >= 0x20 && c < 0x80 && c != '"' && c != '\\';
}

/// Whether eight bytes are all plain; may say no where they are.
bool AreSurelyPlain(const char* bytes) {
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  constexpr std::uint64_t kTops = kOnes * 0x80;
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  const auto has_zero = [](std::uint64_t x) { return (x - kOnes) & ~x & kTops; };
  const std::uint64_t below_blank = (word - kOnes * 0x20) & ~word & kTops;
  return ((word & kTops) | below_blank | has_zero(word ^ kOnes * '"') |
          has_zero(word ^ kOnes * '\\')) == 0;
}

}  // namespace

void JsonWriter::separate() {
  if (needs_comma_) out_ += ',';
  needs_comma_ = true;
}

JsonWriter& JsonWriter::open(char bracket) {
  separate();
  out_ += bracket;
  needs_comma_ = false;
  return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
  out_ += bracket;
  needs_comma_ = true;
  return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
  value(name);
  out_ += ':';
  needs_comma_ = false;
  return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
  separate();
  out_ += '"';
  AppendJsonEscaped(out_, text);
  out_ += '"';
  return *this;
}

JsonWriter& JsonWriter::raw(std::string_view json) {
  separate();
  out_ += json;
  return *this;
}

JsonWriter& JsonWriter::name_field(std::string_view name, std::string_view bytes) {
  field(name, bytes);
  if (!IsUtf8(bytes)) field(std::string(name) + "_key", EncodeForm(bytes));
  return *this;
}

void AppendJsonEscaped(std::string& out, std::string_view text) {
  out.reserve(out.size() + text.size() + text.size() / 16);
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t end = at;
    while (text.size() - end >= 8 && AreSurelyPlain(text.data() + end)) end += 8;
    while (end < text.size() && IsPlain(static_cast<unsigned char>(text[end]))) ++end;
    out.append(text.substr(at, end - at));
    at = end;
    if (at == text.size()) return;
    const auto c = static_cast<unsigned char>(text[at]);
    if (c < 0x80) {
      AppendEscape(out, c);
      ++at;
      continue;
    }
    const std::size_t length = Utf8SequenceLength(text.substr(at));
    if (length == 0) {
      out += "\xEF\xBF\xBD";
      ++at;
    } else {
      out.append(text.substr(at, length));
      at += length;
    }
  }
}

std::string JsonString(std::string_view text) {
  std::string out = "\"";
  AppendJsonEscaped(out, text);
  out += '"';
  return out;
}

}  // namespace mrb
