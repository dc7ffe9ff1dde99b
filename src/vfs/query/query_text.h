#pragma once

#include <string_view>

namespace mrb::query {

/// A line that begins with "?(" taken apart; views into it.
struct QueryText {
  std::string_view expression;  ///< without the brackets and the blanks inside them
  std::string_view options;     ///< from "--store=" on; empty without one
  bool closed = false;          ///< false: the line does not end with ")"
};

/// The last ")" closes; brackets in the expression's strings are text. "--store=" behind it ends
/// the query, whatever brackets its value holds.
[[nodiscard]] QueryText SplitQuery(std::string_view line);

}  // namespace mrb::query
