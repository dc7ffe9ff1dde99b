#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace mrb::memory {

/// Words that a reader of dates, places and causes knows. Pure; words are given in lower case.

enum class WordKind : std::uint8_t {
  kOther,
  kMonth,      ///< value 1 to 12
  kWeekday,    ///< value 0 (Monday) to 6
  kDay,        ///< yesterday -1, today 0, tomorrow 1
  kDirection,  ///< last -1, this 0, next 1
  kUnit,       ///< a Unit: "week", "weeks", ...
  kAgo,
  kNumber,    ///< "a", "two", ...: value
  kPlaceCue,  ///< in, at, from, to, near; value 1 where a person may follow as well (from, to)
  kCauseCue,  ///< because, since, caused, led, due
};

enum class Unit : std::uint8_t { kDay, kWeek, kMonth, kYear };

struct WordMeaning {
  WordKind kind = WordKind::kOther;
  int value = 0;
};

/// A month is its full English name, its first three letters, or "sept".
[[nodiscard]] WordMeaning MeaningOf(std::string_view word);

/// Whether the word marks a text as one about time: "after", "happened", "currently", ...
[[nodiscard]] bool IsTimeCue(std::string_view word);

}  // namespace mrb::memory
