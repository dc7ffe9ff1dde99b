#pragma once

#include <cstdint>
#include <vector>

#include "memory/text/date_stamp.h"
#include "memory/text/word_scan.h"

namespace mrb::memory {

/// Dates found at one place of a text.
struct FoundDates {
  std::vector<DateStamp> stamps;  ///< a week has seven, a quarter three
  std::size_t words = 0;          ///< how many words the date takes; 0: there is none
};

/// The date that begins at word `i`, seen from the moment `now` (seconds since 1970; 0: unknown,
/// and nothing that depends on it is a date):
///
///     2026-09-12  2026-09  2026/09/12            year first
///     31/12/2026  12.31.26  9-12-2026            month first unless a field says otherwise
///     12 Sept 2026  12th of September            with or without a year
///     Sep 12, 2026  September 2026  Sept 12
///     2026  Q3 2026  2026 Q3                     years 1900 to 2099
///     today  last week  next Friday  this year  3 days ago  a month ago
[[nodiscard]] FoundDates ReadDate(const WordScan& words, std::size_t i, std::uint64_t now);

}  // namespace mrb::memory
