#include "front/client/detach_keys.h"

#include <utility>

namespace mrb::front {

DetachKeys::Passed DetachKeys::pass(std::string_view keys) {
  constexpr char kPrefix = '\x1c';  // Ctrl-backslash
  Passed passed;
  for (const char key : keys) {
    if (!std::exchange(after_prefix_, false)) {
      after_prefix_ = key == kPrefix;
      if (!after_prefix_) passed.keys += key;
    } else if (key == 'd' || key == 'D') {
      passed.detach = true;
      return passed;
    } else {
      passed.keys += kPrefix;
      if (key != kPrefix) passed.keys += key;
    }
  }
  return passed;
}

}  // namespace mrb::front
