#include "common/civil_time.h"

#include "common/text.h"

namespace mrb {

namespace {

// Years are counted from March, so that the leap day is a year's last and the month lengths repeat
// in one pattern; 400 such years are one era of 146,097 days.
constexpr std::uint64_t kDaysPerEra = 146097;
constexpr std::uint64_t kDaysFromYearZeroTo1970 = 719468;  // 0000-03-01 to 1970-01-01
constexpr std::uint64_t kSecondsPerDay = 86400;

}  // namespace

CivilTime CivilFromSeconds(std::uint64_t seconds) {
  const std::uint64_t days = seconds / kSecondsPerDay + kDaysFromYearZeroTo1970;
  const std::uint64_t era = days / kDaysPerEra;
  const std::uint64_t day_of_era = days % kDaysPerEra;
  const std::uint64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::uint64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::uint64_t march_month = (5 * day_of_year + 2) / 153;  // 0: March

  CivilTime time;
  time.day = static_cast<unsigned>(day_of_year - (153 * march_month + 2) / 5 + 1);
  time.month = static_cast<unsigned>(march_month < 10 ? march_month + 3 : march_month - 9);
  time.year = era * 400 + year_of_era + (time.month <= 2 ? 1 : 0);
  const auto second_of_day = static_cast<unsigned>(seconds % kSecondsPerDay);
  time.hour = second_of_day / 3600;
  time.minute = second_of_day / 60 % 60;
  time.second = second_of_day % 60;
  return time;
}

std::string FormatMinute(std::uint64_t seconds) {
  const CivilTime time = CivilFromSeconds(seconds);
  std::string out;
  AppendPadded(out, time.year, 4);
  AppendPadded(out.append("-"), time.month, 2);
  AppendPadded(out.append("-"), time.day, 2);
  AppendPadded(out.append(" "), time.hour, 2);
  AppendPadded(out.append(":"), time.minute, 2);
  return out;
}

}  // namespace mrb
