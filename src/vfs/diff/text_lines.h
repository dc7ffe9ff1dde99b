#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace mrb::diff {

/// Lines end at "\n", which is not part of them; a "\r" before it is. A last line without "\n" is a
/// line like the others, and an empty text has none.
[[nodiscard]] std::vector<std::string_view> SplitLines(std::string_view text);

/// How many lines SplitLines() would give.
[[nodiscard]] std::size_t CountLines(std::string_view text);

/// Calls `each` with every line, in order.
template <typename Each>
void ForEachLine(std::string_view text, Each each) {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    each(text.substr(0, end));
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
  }
}

/// Two texts cut into whole lines: what both begin with, what both end with, and the rest of each.
/// The shared parts need not be the longest possible ones.
struct SharedEnds {
  std::string_view prefix;
  std::string_view middle1;
  std::string_view middle2;
  std::string_view suffix;
};

/// Finds most of the shared lines by comparing bytes, before anything is split.
[[nodiscard]] SharedEnds CutSharedEnds(std::string_view text1, std::string_view text2);

}  // namespace mrb::diff
