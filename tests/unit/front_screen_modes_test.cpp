#include "front/client/screen_modes.h"

#include <gtest/gtest.h>

namespace mrb::front {
namespace {

TEST(ScreenModesTest, UndoesWhatMovesTheCursorOnlyWhereItWasDone) {
  struct Case {
    std::string output;
    bool alternate_screen;
    bool scrolled_region;
  };
  const Case cases[] = {
      {"", false, false},
      {"plain \x1b]0;title\x07 text", false, false},
      {"\x1b[?1049h", true, false},
      {"\x1b[?25;1049h\x1b[3;9r", true, true},
      {"\x1b[?1049h\x1b[?1049l\x1b[3;9r\x1b[r", false, false},
      {"\x1b[?1049;\x1b[?47h", true, false},
      {"\x1b[?" + std::string(300, '1') + "\x1b[?1047h", true, false},
      {"\x1b[1049h\x1b[?3r", false, false},
  };
  for (const Case& c : cases) {
    for (const std::size_t piece : {std::size_t{1}, std::size_t{2}, std::size_t{1000}}) {
      ScreenModes modes;
      for (std::size_t at = 0; at < c.output.size(); at += piece) {
        modes.watch(std::string_view(c.output).substr(at, piece));
      }
      const std::string undo = modes.undo();
      EXPECT_EQ(undo.find("\x1b[?1049l") != std::string::npos, c.alternate_screen) << c.output;
      EXPECT_EQ(undo.find("\x1b[r") != std::string::npos, c.scrolled_region) << c.output;
      EXPECT_NE(undo.find("\x1b[?9001l"), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace mrb::front
