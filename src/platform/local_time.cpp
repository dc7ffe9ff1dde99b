#include "platform/local_time.h"

#include <chrono>

namespace mrb::platform {

CivilTime LocalNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return LocalTime(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

}  // namespace mrb::platform
