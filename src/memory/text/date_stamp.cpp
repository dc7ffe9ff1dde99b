#include "memory/text/date_stamp.h"

#include <algorithm>
#include <array>

#include "common/civil_time.h"

namespace mrb::memory {

namespace {

void AppendTwo(std::string& out, unsigned number) {
  out += static_cast<char>('0' + number / 10);
  out += static_cast<char>('0' + number % 10);
}

bool IsLeap(std::uint64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

}  // namespace

DateStamp DateStamp::from_days(std::int64_t days) {
  constexpr std::int64_t kSecondsPerDay = 86400;
  const CivilTime time = CivilFromSeconds(
      static_cast<std::uint64_t>(std::max<std::int64_t>(days, 0) * kSecondsPerDay));
  return {static_cast<unsigned>(std::min<std::uint64_t>(time.year, 9999)), time.month, time.day};
}

std::string DateStamp::text() const {
  std::string out;
  AppendTwo(out, year() / 100);
  AppendTwo(out, year() % 100);
  for (const unsigned part : {month(), day()}) {
    if (part != 0) {
      out += '-';
      AppendTwo(out, part);
    }
  }
  return out;
}

bool IsDate(std::uint64_t year, std::uint64_t month, std::uint64_t day) {
  constexpr std::array<unsigned, 13> kDays = {31, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 1 || year > 9999 || month > 12 || (month == 0 && day != 0)) return false;
  return day <= kDays.at(month) || (month == 2 && day == 29 && IsLeap(year));
}

}  // namespace mrb::memory
