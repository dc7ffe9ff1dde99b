#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mrb::vfs {

/// One argument of a search command.
struct GrepWord {
  std::string text;
  bool quoted = false;  ///< it stood in quotes, so that it is no flag
};

/// The arguments of a line that was made by joining them with blanks, those in double quotes that
/// hold a blank or a quote, with a backslash before each double quote in them; a user may use
/// apostrophes as well. Any other backslash is a character like others: this is where patterns are
/// written. A quote that is never closed ends with the line.
[[nodiscard]] std::vector<GrepWord> SplitGrepWords(std::string_view line);

}  // namespace mrb::vfs
