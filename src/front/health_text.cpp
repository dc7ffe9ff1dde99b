#include "front/health_text.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "common/version.h"

namespace mrb::front {
namespace {

constexpr std::size_t kShortestHealthBody = 16;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The number at the cursor, which moves behind it; 0 without digits. Stays at the largest value
/// instead of wrapping round.
std::uint64_t TakeNumber(std::string_view text, std::size_t& at) {
  constexpr auto kMax = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t number = 0;
  for (; at < text.size() && IsDigit(text[at]); ++at) {
    const auto digit = static_cast<std::uint64_t>(text[at] - '0');
    number = number > (kMax - digit) / 10 ? kMax : number * 10 + digit;
  }
  return number;
}

void SkipSeparator(std::string_view text, std::size_t& at) {
  if (at < text.size() && !IsDigit(text[at])) ++at;
}

/// Where a string without its opening quote ends: at the first quote behind an even number of
/// backslashes.
std::size_t StringEnd(std::string_view raw) {
  for (std::size_t at = raw.find('"'); at != std::string_view::npos; at = raw.find('"', at + 1)) {
    std::size_t slashes = 0;
    while (slashes < at && raw[at - slashes - 1] == '\\') ++slashes;
    if (slashes % 2 == 0) return at;
  }
  return raw.size();
}

}  // namespace

std::string_view AnswerBody(std::string_view answer) {
  const auto blank_line = answer.find("\r\n\r\n");
  return blank_line == std::string_view::npos ? answer : answer.substr(blank_line + 4);
}

ProbeResult ClassifyHealth(std::string_view body, std::string& version) {
  constexpr std::string_view kApp = "\"app\":\"Mirebolt\"";
  constexpr std::string_view kVersionField = "\"version\":\"";
  version.clear();
  if (body.size() < kShortestHealthBody || body.find(kApp) == std::string_view::npos) {
    return ProbeResult::Foreign;
  }
  const auto field = body.find(kVersionField);
  if (field == std::string_view::npos) return ProbeResult::OtherVersion;
  const std::string_view rest = body.substr(field + kVersionField.size());
  version = rest.substr(0, rest.find('"'));
  return version == kVersion ? ProbeResult::Current : ProbeResult::OtherVersion;
}

std::string ExtractOut(std::string_view body) {
  constexpr std::string_view kOut = "\"out\":\"";
  const auto field = body.find(kOut);
  if (field == std::string_view::npos) return std::string(body);
  const std::string_view raw = body.substr(field + kOut.size());
  return JsonUnescape(raw.substr(0, StringEnd(raw)));
}

std::string JsonUnescape(std::string_view raw) {
  std::string out;
  out.reserve(raw.size());
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] != '\\' || i + 1 == raw.size()) {
      // An answer may be megabytes of lines: what stands between two escapes is copied at once.
      const std::size_t end = std::min(raw.find('\\', i + 1), raw.size());
      out += raw.substr(i, end - i);
      i = end - 1;
      continue;
    }
    switch (const char c = raw[++i]) {
      case 'n':
        out += '\n';
        break;
      case 'r':
        out += '\r';
        break;
      case 't':
        out += '\t';
        break;
      case 'u':
        if (raw.size() - i > 4) {
          out += '?';
          i += 4;
        }
        break;
      default:
        out += c;
    }
  }
  return out;
}

int CompareVersions(std::string_view a, std::string_view b) {
  std::size_t at_a = 0;
  std::size_t at_b = 0;
  for (;;) {
    const std::size_t start_a = at_a;
    const std::size_t start_b = at_b;
    const std::uint64_t number_a = TakeNumber(a, at_a);
    const std::uint64_t number_b = TakeNumber(b, at_b);
    if (number_a != number_b) return number_a > number_b ? 1 : -1;
    SkipSeparator(a, at_a);
    SkipSeparator(b, at_b);
    if (at_a == start_a && at_b == start_b) return 0;
  }
}

}  // namespace mrb::front
