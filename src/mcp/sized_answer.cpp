#include "mcp/sized_answer.h"

#include <algorithm>

#include "common/text.h"

namespace mrb::mcp {
namespace {

constexpr std::size_t kNote = 200;  // bytes kept free for the last line

/// The next line with its end; of one longer than `width` only so much, at a whole character, so
/// that what follows can be asked for as if it were a line.
std::string_view NextLine(std::string_view text, std::size_t width) {
  const std::size_t end = text.substr(0, width).find('\n');
  if (end != std::string_view::npos) return text.substr(0, end + 1);
  return CutUtf8(text, width);
}

/// Takes `lines` off the front; how many there were, at most that.
std::uint64_t SkipLines(std::string_view& text, std::uint64_t lines, std::size_t width) {
  std::uint64_t skipped = 0;
  for (; skipped < lines && !text.empty(); ++skipped) {
    text.remove_prefix(NextLine(text, width).size());
  }
  return skipped;
}

std::string Numbered(std::uint64_t number, std::string_view what) {
  return std::to_string(number) + std::string(what);
}

}  // namespace

std::string SizedAnswer(std::string_view answer, std::uint64_t offset, std::size_t most,
                        bool can_page) {
  most = std::max(most, kMinMaxAnswer);
  const std::size_t width = most - kNote;
  std::string_view rest = answer;
  const std::uint64_t skipped = SkipLines(rest, offset, width);
  if (rest.empty() && skipped > 0) {
    return "[nothing from line " + std::to_string(offset) + " on: the answer has " +
           Numbered(skipped, " line(s)]");
  }
  if (rest.size() <= most) return std::string(rest);

  std::uint64_t lines_shown = 0;
  std::size_t shown = 0;
  for (;;) {
    const std::size_t size = NextLine(rest.substr(shown), width).size();
    if (shown + size > width) break;
    shown += size;
    ++lines_shown;
  }
  std::string text(rest.substr(0, shown));
  rest.remove_prefix(shown);
  const std::size_t bytes = rest.size();
  const std::uint64_t left = SkipLines(rest, bytes, width);
  text += text.ends_with('\n') ? "[" : "\n[this line goes on; ";
  text += Numbered(left, " more line(s), ") + Numbered(bytes, " bytes: ");
  text += can_page ? "call again with offset=" + std::to_string(skipped + lines_shown) + "]"
                   : "ask for less]";
  return text;
}

}  // namespace mrb::mcp
