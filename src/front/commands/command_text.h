#pragma once

#include <string_view>

namespace mrb::front {

/// One command line taken apart, without copies: `ns:verb arguments`. Views into the caller's text.
struct CommandText {
  std::string_view line;        ///< without the blanks around it
  std::string_view head;        ///< up to the first space or tab
  std::string_view arguments;   ///< behind that, without the blanks around it
  std::string_view name_space;  ///< the head up to its first colon; the whole head without one
  std::string_view verb;        ///< the head behind its first colon; empty without one
  bool has_colon = false;
};

[[nodiscard]] CommandText SplitCommand(std::string_view text);

}  // namespace mrb::front
