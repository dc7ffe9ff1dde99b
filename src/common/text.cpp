#include "common/text.h"

#include <algorithm>
#include <charconv>
#include <memory>

namespace mrb {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kMaxContinuations = 3;  // bytes behind the first of a UTF-8 sequence

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

}  // namespace

std::string_view Trim(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view TrimLineEnd(std::string_view text) {
  const auto last = text.find_last_not_of("\r\n");
  return last == std::string_view::npos ? std::string_view{} : text.substr(0, last + 1);
}

std::string LowerAscii(std::string_view text) {
  std::string out(text);
  std::ranges::transform(out, out.begin(), Lower);
  return out;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, Lower, Lower);
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  for (;;) {
    const auto at = text.find(separator);
    pieces.push_back(text.substr(0, at));
    if (at == std::string_view::npos) return pieces;
    text.remove_prefix(at + 1);
  }
}

std::vector<std::string_view> SplitWords(std::string_view text) {
  std::vector<std::string_view> words;
  for (;;) {
    const auto start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) return words;
    text.remove_prefix(start);
    const auto end = std::min(text.find_first_of(" \t"), text.size());
    words.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
}

std::optional<std::uint64_t> ParseDecimal(std::string_view text) {
  std::uint64_t value = 0;
  const char* begin = std::to_address(text.begin());
  const char* end = begin + text.size();
  const auto parsed = std::from_chars(begin, end, value);
  if (text.empty() || parsed.ec != std::errc{} || parsed.ptr != end) return std::nullopt;
  return value;
}

void AppendPadded(std::string& text, std::uint64_t number, std::size_t width) {
  char digits[20];  // as many as 2^64 has
  char* const end = std::end(digits);
  char* begin = end;
  for (; number > 0; number /= 10) *--begin = static_cast<char>('0' + number % 10);
  const auto count = static_cast<std::size_t>(end - begin);
  text.append(width > count ? width - count : 0, '0').append(begin, end);
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = Lower(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string Join(const std::vector<std::string>& pieces, std::string_view separator) {
  std::string out;
  for (const std::string& piece : pieces) {
    if (!out.empty() || &piece != pieces.data()) out += separator;
    out += piece;
  }
  return out;
}

std::size_t Utf8SequenceLength(std::string_view text) {
  if (text.empty()) return 0;
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xC2 && first <= 0xDF   ? 2
                             : first >= 0xE0 && first <= 0xEF ? 3
                             : first >= 0xF0 && first <= 0xF4 ? 4
                                                              : 0;
  if (length == 0 || text.size() < length) return 0;
  if (!std::ranges::all_of(text.substr(1, length - 1), IsContinuation)) return 0;
  const auto second = static_cast<unsigned char>(text[1]);
  const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool surrogate = first == 0xED && second > 0x9F;
  const bool too_large = first == 0xF4 && second > 0x8F;
  return overlong || surrogate || too_large ? 0 : length;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = Utf8SequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string_view CutUtf8(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return text;
  std::size_t end = limit;
  while (end > 0 && IsContinuation(text[end])) --end;
  // More bytes than a sequence has are no sequence.
  return text.substr(0, limit - end > kMaxContinuations ? limit : end);
}

}  // namespace mrb
