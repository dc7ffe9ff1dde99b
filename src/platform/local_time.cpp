#include "platform/local_time.h"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace mrb::platform {
namespace {

constexpr std::uint64_t kLastYear = 9999;

}  // namespace

CivilTime LocalNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return LocalTime(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

std::uint64_t UnixSecondsOfLocal(const CivilTime& time) {
  std::tm parts{};
  parts.tm_year = static_cast<int>(std::min<std::uint64_t>(time.year, kLastYear)) - 1900;
  parts.tm_mon = static_cast<int>(time.month) - 1;
  parts.tm_mday = static_cast<int>(time.day);
  parts.tm_hour = static_cast<int>(time.hour);
  parts.tm_min = static_cast<int>(time.minute);
  parts.tm_sec = static_cast<int>(time.second);
  parts.tm_isdst = -1;
  const std::time_t seconds = std::mktime(&parts);
  return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds);
}

}  // namespace mrb::platform
