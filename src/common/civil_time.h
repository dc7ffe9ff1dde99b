#pragma once

#include <cstdint>
#include <string>

namespace mrb {

/// A moment of the proleptic Gregorian calendar, of no time zone in itself. No leap seconds.
struct CivilTime {
  std::uint64_t year = 1970;
  unsigned month = 1;  ///< 1 to 12
  unsigned day = 1;    ///< 1 to 31
  unsigned hour = 0;
  unsigned minute = 0;
  unsigned second = 0;
};

/// The calendar moment, in UTC, `seconds` after 1970-01-01 00:00 UTC; every value has one.
[[nodiscard]] CivilTime CivilFromSeconds(std::uint64_t seconds);

/// "YYYY-MM-DD HH:MM" in UTC; a year past 9999 takes the digits it needs.
[[nodiscard]] std::string FormatMinute(std::uint64_t seconds);

}  // namespace mrb
