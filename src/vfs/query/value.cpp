#include "vfs/query/value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

#include "vfs/query/glob.h"

namespace mrb::query {
namespace {

std::int64_t CutTo32Bits(double number) {
  if (std::isnan(number)) return 0;
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int64_t>(
      std::clamp<double>(number, double{Limits::min()}, double{Limits::max()}));
}

bool AnyMatches(std::string_view pattern, List list) {
  return std::ranges::any_of(list, [&](std::string_view text) { return Matches(pattern, text); });
}

}  // namespace

double LeadingNumber(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::result_out_of_range) {  // too large or too small: only strtod says which
    return std::strtod(std::string(text).c_str(), nullptr);
  }
  return error == std::errc() ? number : 0;
}

double ToNumber(const Value& value) {
  if (const bool* truth = std::get_if<bool>(&value)) return *truth ? 1 : 0;
  if (const double* number = std::get_if<double>(&value)) return *number;
  if (const auto* text = std::get_if<std::string_view>(&value)) return LeadingNumber(*text);
  return static_cast<double>(std::get<List>(value).size());
}

bool IsTrue(const Value& value) {
  if (const bool* truth = std::get_if<bool>(&value)) return *truth;
  if (const double* number = std::get_if<double>(&value)) return *number != 0;
  if (const auto* text = std::get_if<std::string_view>(&value)) return !text->empty();
  return !std::get<List>(value).empty();
}

bool AreEqual(const Value& left, const Value& right) {
  const auto* left_text = std::get_if<std::string_view>(&left);
  const auto* right_text = std::get_if<std::string_view>(&right);
  const auto* left_list = std::get_if<List>(&left);
  const auto* right_list = std::get_if<List>(&right);
  if (left_list != nullptr && right_text != nullptr) return AnyMatches(*right_text, *left_list);
  if (left_text != nullptr && right_text != nullptr) {
    return Matches(*left_text, *right_text) || Matches(*right_text, *left_text);
  }
  if (left_text != nullptr && right_list != nullptr) return AnyMatches(*left_text, *right_list);
  if (std::holds_alternative<double>(left) || std::holds_alternative<double>(right)) {
    return ToNumber(left) == ToNumber(right);
  }
  return IsTrue(left) == IsTrue(right);
}

double Remainder(double left, double right) {
  const std::int64_t divisor = CutTo32Bits(right);
  return divisor == 0 ? 0 : static_cast<double>(CutTo32Bits(left) % divisor);
}

}  // namespace mrb::query
