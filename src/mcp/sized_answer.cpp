#include "mcp/sized_answer.h"

#include <algorithm>

#include "common/text.h"

namespace mrb::mcp {
namespace {

constexpr std::size_t kNote = 200;  // bytes kept free for the last line

std::uint64_t CountLines(std::string_view text) {
  const auto ends = static_cast<std::uint64_t>(std::ranges::count(text, '\n'));
  return ends + (text.empty() || text.ends_with('\n') ? 0 : 1);
}

/// Takes `lines` off the front; how many there were, at most that.
std::uint64_t SkipLines(std::string_view& text, std::uint64_t lines) {
  std::uint64_t skipped = 0;
  for (; skipped < lines && !text.empty(); ++skipped) {
    text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
  }
  return skipped;
}

std::string Numbered(std::uint64_t number, std::string_view what) {
  return std::to_string(number) + std::string(what);
}

}  // namespace

std::string SizedAnswer(std::string_view answer, std::uint64_t offset, std::size_t most,
                        bool can_page) {
  std::string_view rest = answer;
  const std::uint64_t skipped = SkipLines(rest, offset);
  if (rest.empty() && skipped > 0) {
    return "[nothing from line " + std::to_string(offset) + " on: the answer has " +
           Numbered(skipped, " line(s)]");
  }
  if (rest.size() <= most) return std::string(rest);

  const std::size_t room = std::max(most, kLeastMaxAnswer) - kNote;
  const auto line_end = rest.substr(0, room).rfind('\n');
  const bool whole_lines = line_end != std::string_view::npos;
  const std::string_view shown = whole_lines ? rest.substr(0, line_end + 1) : CutUtf8(rest, room);
  const std::uint64_t lines_shown = CountLines(shown);
  std::uint64_t left = CountLines(rest) - lines_shown;
  std::string text(shown);
  if (!whole_lines) {
    const auto length = std::min(rest.find('\n'), rest.size());
    text += "\n[this line is cut: " + std::to_string(shown.size()) + " of " +
            Numbered(length, " bytes]");
  }
  if (left == 0) return text;
  if (!text.ends_with('\n')) text += '\n';
  text +=
      "[" + Numbered(left, " more line(s), ") + Numbered(rest.size() - shown.size(), " bytes: ");
  text += can_page ? "call again with offset=" + std::to_string(skipped + lines_shown) + "]"
                   : "ask for less]";
  return text;
}

}  // namespace mrb::mcp
