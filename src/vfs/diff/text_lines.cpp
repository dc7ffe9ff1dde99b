#include "vfs/diff/text_lines.h"

#include <algorithm>

namespace mrb::diff {
namespace {

/// The shared bytes at the start, back to where a line begins.
std::size_t SharedPrefix(std::string_view a, std::string_view b) {
  const std::size_t limit = std::min(a.size(), b.size());
  const auto limit_at = a.begin() + static_cast<std::ptrdiff_t>(limit);
  const auto same =
      static_cast<std::size_t>(std::mismatch(a.begin(), limit_at, b.begin()).first - a.begin());
  if (same == a.size() && same == b.size()) return same;
  const std::size_t line_end = a.substr(0, same).rfind('\n');
  return line_end == std::string_view::npos ? 0 : line_end + 1;
}

/// The shared bytes at the end, forward to where a line begins. Both texts begin with a line.
std::size_t SharedSuffix(std::string_view a, std::string_view b) {
  if (a.ends_with('\n') != b.ends_with('\n')) return 0;
  const std::size_t limit = std::min(a.size(), b.size());
  const auto limit_at = a.rbegin() + static_cast<std::ptrdiff_t>(limit);
  const auto same =
      static_cast<std::size_t>(std::mismatch(a.rbegin(), limit_at, b.rbegin()).first - a.rbegin());
  const std::size_t line_end = a.find('\n', a.size() - same);
  return line_end == std::string_view::npos ? 0 : a.size() - line_end - 1;
}

}  // namespace

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  lines.reserve(CountLines(text));
  ForEachLine(text, [&](std::string_view line) { lines.push_back(line); });
  return lines;
}

std::size_t CountLines(std::string_view text) {
  const auto ends = static_cast<std::size_t>(std::ranges::count(text, '\n'));
  return ends + (text.empty() || text.ends_with('\n') ? 0 : 1);
}

SharedEnds CutSharedEnds(std::string_view text1, std::string_view text2) {
  SharedEnds cut;
  const std::size_t prefix = SharedPrefix(text1, text2);
  cut.prefix = text1.substr(0, prefix);
  text1.remove_prefix(prefix);
  text2.remove_prefix(prefix);
  const std::size_t suffix = SharedSuffix(text1, text2);
  cut.suffix = text1.substr(text1.size() - suffix);
  cut.middle1 = text1.substr(0, text1.size() - suffix);
  cut.middle2 = text2.substr(0, text2.size() - suffix);
  return cut;
}

}  // namespace mrb::diff
