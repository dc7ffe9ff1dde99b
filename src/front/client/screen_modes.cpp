#include "front/client/screen_modes.h"

#include <algorithm>
#include <array>

#include "common/text.h"

namespace mrb::front {
namespace {

constexpr std::string_view kBegin = "\x1b[";
constexpr std::size_t kLongest = 64;  // of a sequence that is looked at

constexpr std::string_view kUndo =
    "\x1b[?1l\x1b>"                                       // cursor keys and keypad
    "\x1b[?9l\x1b[?1000l\x1b[?1002l\x1b[?1003l"           // mouse: what is told
    "\x1b[?1005l\x1b[?1006l\x1b[?1015l\x1b[?1016l"        // mouse: how
    "\x1b[?1004l\x1b[?2004l"                              // focus, paste
    "\x1b[?9001l"                                         // win32-input-mode
    "\x1b[?7h\x1b[4l\x1b[?25h\x1b[0 q\x1b(B\x0f\x1b[0m";  // lines, cursor, letters, colours

bool IsFinal(char c) {
  return c >= '@' && c <= '~';
}

}  // namespace

void ScreenModes::watch(std::string_view output) {
  rest_ += output;
  std::string_view text(rest_);
  for (;;) {
    const auto begin = std::min(text.find('\x1b'), text.size());
    text.remove_prefix(begin);
    if (text.size() < kBegin.size()) break;
    if (!text.starts_with(kBegin)) {
      text.remove_prefix(1);
      continue;
    }
    const std::string_view body = text.substr(kBegin.size());
    const auto end = std::ranges::find_if(body, IsFinal);
    const auto length = static_cast<std::size_t>(end - body.begin());
    if (end == body.end() && length < kLongest) break;
    if (end != body.end()) take(body.substr(0, length), *end);
    text.remove_prefix(kBegin.size());
  }
  rest_ = std::string(text);
}

void ScreenModes::take(std::string_view parameters, char final) {
  if (final == 'r' && !parameters.starts_with('?')) scrolled_region_ = !parameters.empty();
  if (!parameters.starts_with('?') || (final != 'h' && final != 'l')) return;
  constexpr std::array<std::string_view, 3> kAlternateScreens{"47", "1047", "1049"};
  for (const std::string_view mode : Split(parameters.substr(1), ';')) {
    if (std::ranges::find(kAlternateScreens, mode) != kAlternateScreens.end()) {
      alternate_screen_ = final == 'h';
    }
  }
}

std::string ScreenModes::undo() const {
  std::string undo;
  if (scrolled_region_) undo += "\x1b[r";
  if (alternate_screen_) undo += "\x1b[?1049l";
  undo += kUndo;
  return undo;
}

}  // namespace mrb::front
