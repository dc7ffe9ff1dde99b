#pragma once

#include <span>
#include <string_view>
#include <variant>

namespace mrb::query {

using List = std::span<const std::string_view>;

/// What an expression yields. Texts and lists are views of the element, the expression or a
/// register: nothing is copied per element.
using Value = std::variant<bool, double, std::string_view, List>;

/// The decimal number at the start of a text, after blanks and a sign; 0 when there is none.
[[nodiscard]] double LeadingNumber(std::string_view text);

/// A text is its leading number, a list the count of its elements, a bool 1 or 0.
[[nodiscard]] double ToNumber(const Value& value);

/// Not 0, not empty.
[[nodiscard]] bool IsTrue(const Value& value);

/// The rules of "==": a text compared with a text or a list is a glob, and so on by the two kinds.
[[nodiscard]] bool AreEqual(const Value& left, const Value& right);

/// Of both sides cut to 32 bits (beyond their range: to its ends); 0 when the right one is 0.
[[nodiscard]] double Remainder(double left, double right);

}  // namespace mrb::query
