#include "platform/local_time.h"

#include "platform/windows/file_status.h"

namespace mrb::platform {

CivilTime LocalTime(std::int64_t nanoseconds) {
  const auto ticks = static_cast<std::uint64_t>(TicksSince1601(nanoseconds));
  const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32U)};
  SYSTEMTIME utc{};
  SYSTEMTIME local{};
  // With the daylight saving of that moment, not of today.
  if (!::FileTimeToSystemTime(&time, &utc) ||
      !::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) {
    return {0, 0, 0, 0, 0, 0};
  }
  return {local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond};
}

}  // namespace mrb::platform
