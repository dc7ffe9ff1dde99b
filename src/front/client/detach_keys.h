#pragma once

#include <string>
#include <string_view>

namespace mrb::front {

/// Watches the keys that pass to a terminal for the ones that are meant for the client itself:
/// Ctrl-\ and then d leaves the terminal, Ctrl-\ twice types one.
class DetachKeys {
 public:
  struct Passed {
    std::string keys;     ///< for the terminal
    bool detach = false;  ///< what came behind is dropped
  };
  [[nodiscard]] Passed pass(std::string_view keys);

 private:
  bool after_prefix_ = false;
};

}  // namespace mrb::front
