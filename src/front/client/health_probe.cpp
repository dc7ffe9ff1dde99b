#include "front/client/health_probe.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "common/version.h"

namespace mrb::front {
namespace {

constexpr std::size_t kMinHealthBody = 16;

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

}  // namespace

ProbeResult ClassifyHealth(std::string_view body, std::string& version) {
  constexpr std::string_view kApp = "\"app\":\"Mirebolt\"";
  constexpr std::string_view kVersionField = "\"version\":\"";
  version.clear();
  if (body.size() < kMinHealthBody || body.find(kApp) == std::string_view::npos) {
    return ProbeResult::Foreign;
  }
  const auto field = body.find(kVersionField);
  if (field == std::string_view::npos) return ProbeResult::OtherVersion;
  const std::string_view rest = body.substr(field + kVersionField.size());
  version = rest.substr(0, rest.find('"'));
  return version == kVersion ? ProbeResult::Current : ProbeResult::OtherVersion;
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
