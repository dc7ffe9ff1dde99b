#include "platform/local_time.h"

#include <ctime>

namespace mrb::platform {

CivilTime LocalTime(std::int64_t nanoseconds) {
  constexpr std::int64_t kPerSecond = 1'000'000'000;
  // Rounded down, also before 1970.
  const std::time_t seconds = nanoseconds / kPerSecond - (nanoseconds % kPerSecond < 0 ? 1 : 0);
  std::tm local{};
  if (::localtime_r(&seconds, &local) == nullptr) return {0, 0, 0, 0, 0, 0};
  return {static_cast<std::uint64_t>(local.tm_year + 1900),
          static_cast<unsigned>(local.tm_mon + 1),
          static_cast<unsigned>(local.tm_mday),
          static_cast<unsigned>(local.tm_hour),
          static_cast<unsigned>(local.tm_min),
          static_cast<unsigned>(local.tm_sec)};
}

}  // namespace mrb::platform
