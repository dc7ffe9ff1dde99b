#pragma once

#include <string>
#include <string_view>

namespace mrb::front {

/// What a program's output did to the user's console, and how to undo it when the program is left
/// while it still runs. The sequences are those of xterm ("XTerm Control Sequences", DECSET), which
/// the consoles of all systems took over, and of the Windows console (win32-input-mode).
class ScreenModes {
 public:
  void watch(std::string_view output);

  /// Puts everything back that a line-by-line program expects. Of the two that move the cursor even
  /// when there is nothing to undo, the alternate screen and the scrolled region, only those that
  /// the program used.
  [[nodiscard]] std::string undo() const;

 private:
  void take(std::string_view parameters, char final);

  std::string rest_;  // of a sequence that has begun
  bool alternate_screen_ = false;
  bool scrolled_region_ = false;
};

}  // namespace mrb::front
