#include "memory/text/date_reader.h"

#include <optional>

#include "common/civil_time.h"
#include "common/text.h"

namespace mrb::memory {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::uint64_t kFirstBareYear = 1900;
constexpr std::uint64_t kLastBareYear = 2099;
constexpr std::int64_t kMaxAgo = 100'000;  // units; more lies before every calendar

FoundDates found(DateStamp stamp, std::size_t words) {
  return {{stamp}, words};
}

bool is_bare_year(std::uint64_t year) {
  return year >= kFirstBareYear && year <= kLastBareYear;
}

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

/// A number at the start of a word with its digits counted.
struct Number {
  std::uint64_t value = 0;
  std::size_t digits = 0;
};

Number number_of(const FrameWords& words, std::size_t i) {
  Number number;
  if (i >= words.size() || !words[i].digit) {
    return number;
  }
  constexpr std::size_t kMostDigits = 9;  // more is no part of a date
  const std::string_view word = words.word(i);
  while (number.digits < word.size() && is_digit(word[number.digits])) {
    if (number.digits == kMostDigits) {
      return {};
    }
    number.value = number.value * 10 + static_cast<std::uint64_t>(word[number.digits++] - '0');
  }
  return number;
}

/// The number that is all of word `i`.
Number whole_number(const FrameWords& words, std::size_t i) {
  const Number number = number_of(words, i);
  return number.digits != 0 && number.digits == words[i].size() ? number : Number{};
}

/// A day of the month: "12" or "12th".
std::uint64_t day_of(const FrameWords& words, std::size_t i) {
  const Number number = number_of(words, i);
  if (number.digits == 0 || number.digits > 2) {
    return 0;
  }
  const std::string tail = LowerAscii(words.word(i).substr(number.digits));
  const bool day = tail.empty() || tail == "st" || tail == "nd" || tail == "rd" || tail == "th";
  return day ? number.value : 0;
}

/// The year in word `i`: four digits with nothing attached to them that would make them something
/// else ("2026.5", "2026-rc1").
std::uint64_t year_of(const FrameWords& words, std::size_t i) {
  const Number number = whole_number(words, i);
  if (number.digits != 4 || !is_bare_year(number.value)) {
    return 0;
  }
  const std::string_view gap = words.gap(i);
  const bool attached = gap.size() == 1 && gap != " " && gap != "\n" && i + 1 < words.size();
  return attached ? 0 : number.value;
}

bool is_gap(const FrameWords& words, std::size_t i, std::string_view wanted) {
  return i + 1 < words.size() && words.gap(i) == wanted;
}

bool loose_gap(const FrameWords& words, std::size_t i) {
  const std::string_view gap = i + 1 < words.size() ? words.gap(i) : "\n";
  return gap == " " || gap == ", " || gap == "," || gap == ". " || gap == "." || gap == "  ";
}

/// Three numbers with one mark between: year first, or the year last.
FoundDates three_numbers(const FrameWords& words, std::size_t i) {
  const std::string_view mark = i + 2 < words.size() ? words.gap(i) : "";
  if ((mark != "-" && mark != "/" && mark != "." && mark != "_") || words.gap(i + 1) != mark) {
    return {};
  }
  const Number a = whole_number(words, i);
  const Number b = whole_number(words, i + 1);
  const Number c = number_of(words, i + 2);
  const std::string_view tail = words.word(i + 2).substr(c.digits);
  const bool timed = tail.starts_with('T') || tail.starts_with('t');  // 2026-09-12T10:00
  if (a.digits == 0 || b.digits == 0 || b.digits > 2 || c.digits == 0 ||
      (!tail.empty() && !timed)) {
    return {};
  }
  if (is_gap(words, i + 2, mark) && mark != "-") {
    return {};  // a fourth part: an address or a version
  }
  const auto stamp = [](std::uint64_t year, std::uint64_t month, std::uint64_t day) {
    return month != 0 && day != 0 && IsDate(year, month, day)
               ? found({static_cast<unsigned>(year), static_cast<unsigned>(month),
                        static_cast<unsigned>(day)},
                       3)
               : FoundDates();
  };
  if (a.digits == 4 && c.digits <= 2) {
    return stamp(a.value, b.value, c.value);
  }
  if (a.digits > 2 || !tail.empty() || (c.digits != 4 && (c.digits != 2 || mark == "."))) {
    return {};
  }
  constexpr std::uint64_t kCenturyTurn = 70;  // 69 is 2069, 70 is 1970
  const std::uint64_t year =
      c.digits == 4 ? c.value : c.value + (c.value < kCenturyTurn ? 2000 : 1900);
  return a.value > 12 ? stamp(year, b.value, a.value) : stamp(year, a.value, b.value);
}

/// "2026-09".
FoundDates year_and_month(const FrameWords& words, std::size_t i) {
  const Number year = whole_number(words, i);
  const Number month = whole_number(words, i + 1);
  if (!is_gap(words, i, "-") || year.digits != 4 || !is_bare_year(year.value) ||
      month.digits != 2 || month.value < 1 || month.value > 12 ||
      (is_gap(words, i + 1, "-") && words[i + 2].digit)) {
    return {};
  }
  return found({static_cast<unsigned>(year.value), static_cast<unsigned>(month.value), 0}, 2);
}

std::optional<unsigned> quarter_of(const FrameWords& words, std::size_t i) {
  if (i >= words.size()) {
    return std::nullopt;
  }
  const std::string_view word = words.word(i);
  const bool quarter =
      word.size() == 2 && (word[0] == 'Q' || word[0] == 'q') && word[1] >= '1' && word[1] <= '4';
  return quarter ? std::optional(static_cast<unsigned>(word[1] - '1')) : std::nullopt;
}

FoundDates quarter(std::uint64_t year, unsigned number) {
  FoundDates dates;
  dates.words = 2;
  for (unsigned month = 1; month <= 3; ++month) {
    dates.stamps.emplace_back(static_cast<unsigned>(year), number * 3 + month, 0U);
  }
  return dates;
}

std::uint64_t year_of_moment(std::uint64_t now) {
  return now == 0 ? 0 : CivilFromSeconds(now).year;
}

/// A month's day, the year behind it if there is one, else that of the moment.
FoundDates day_of_month(const FrameWords& words, std::size_t next, std::size_t taken,
                        unsigned month, std::uint64_t day, std::uint64_t now) {
  const bool close =
      next < words.size() && (loose_gap(words, next - 1) || words.gap(next - 1) == "-");
  const std::uint64_t year = close ? year_of(words, next) : 0;
  const std::uint64_t used = year != 0 ? year : year_of_moment(now);
  if (day == 0 || !IsDate(used, month, day)) {
    return {};
  }
  return found({static_cast<unsigned>(used), month, static_cast<unsigned>(day)},
               taken + (year != 0 ? 1 : 0));
}

/// "Sep 12, 2026", "September 2026", "Sept 12".
FoundDates month_first(const FrameWords& words, std::size_t i, std::uint64_t now) {
  const auto month = static_cast<unsigned>(words[i].meaning.value);
  if (i + 1 >= words.size() || !loose_gap(words, i)) {
    return {};
  }
  if (const std::uint64_t year = year_of(words, i + 1); year != 0) {
    return found({static_cast<unsigned>(year), month, 0}, 2);
  }
  return day_of_month(words, i + 2, 2, month, day_of(words, i + 1), now);
}

/// "12 Sept 2026", "12th of September".
FoundDates day_first(const FrameWords& words, std::size_t i, std::uint64_t now) {
  const std::uint64_t day = day_of(words, i);
  if (day == 0 || i + 1 >= words.size() || (words.gap(i) != " " && words.gap(i) != "-")) {
    return {};
  }
  const bool of = EqualsIgnoreCase(words.word(i + 1), "of");
  const std::size_t month = i + (of ? 2 : 1);
  if (words.meaning(month).kind != WordKind::kMonth) {
    return {};
  }
  return day_of_month(words, month + 1, month + 1 - i,
                      static_cast<unsigned>(words[month].meaning.value), day, now);
}

/// `months` months before or after the moment's own.
DateStamp month_at(std::uint64_t now, std::int64_t months) {
  const CivilTime time = CivilFromSeconds(now);
  const std::int64_t all = static_cast<std::int64_t>(time.year) * 12 + time.month - 1 + months;
  return all < 12 || all / 12 > 9999
             ? DateStamp()
             : DateStamp(static_cast<unsigned>(all / 12), static_cast<unsigned>(all % 12 + 1), 0);
}

DateStamp year_at(std::uint64_t now, std::int64_t years) {
  const std::int64_t year = static_cast<std::int64_t>(CivilFromSeconds(now).year) + years;
  return year < 1 || year > 9999 ? DateStamp() : DateStamp(static_cast<unsigned>(year), 0, 0);
}

FoundDates if_set(DateStamp stamp, std::size_t words) {
  return stamp.is_set() ? found(stamp, words) : FoundDates();
}

/// "last week", "next Friday", "this year".
FoundDates directed(const FrameWords& words, std::size_t i, std::uint64_t now) {
  const std::int64_t direction = words[i].meaning.value;
  const WordMeaning what = words.meaning(i + 1);
  if (!is_gap(words, i, " ")) {
    return {};
  }
  const std::int64_t today = static_cast<std::int64_t>(now) / kSecondsPerDay;
  const std::int64_t weekday = (today + 3) % 7;  // 1970-01-01 was a Thursday
  const std::int64_t monday = today - weekday;
  if (what.kind == WordKind::kWeekday) {
    std::int64_t day = monday + what.value;
    if (direction < 0 && day >= today) {
      day -= 7;
    } else if (direction > 0 && day <= today) {
      day += 7;
    }
    return found(DateStamp::from_days(day), 2);
  }
  if (what.kind != WordKind::kUnit) {
    return {};
  }
  switch (static_cast<Unit>(what.value)) {
    case Unit::kDay:
      return found(DateStamp::from_days(today + direction), 2);
    case Unit::kMonth:
      return if_set(month_at(now, direction), 2);
    case Unit::kYear:
      return if_set(year_at(now, direction), 2);
    case Unit::kWeek:
      break;
  }
  FoundDates week;
  week.words = 2;
  for (std::int64_t day = 0; day < 7; ++day) {
    week.stamps.push_back(DateStamp::from_days(monday + 7 * direction + day));
  }
  return week;
}

/// "3 days ago", "a month ago".
FoundDates some_time_ago(const FrameWords& words, std::size_t i, std::uint64_t now) {
  const Number digits = whole_number(words, i);
  const std::int64_t count = words[i].meaning.kind == WordKind::kNumber
                                 ? words[i].meaning.value
                                 : static_cast<std::int64_t>(digits.value);
  const bool counted = words[i].meaning.kind == WordKind::kNumber || digits.digits != 0;
  if (!counted || count > kMaxAgo || words.meaning(i + 1).kind != WordKind::kUnit ||
      words.meaning(i + 2).kind != WordKind::kAgo || words.gap(i) != " ") {
    return {};
  }
  const std::int64_t today = static_cast<std::int64_t>(now) / kSecondsPerDay;
  switch (static_cast<Unit>(words[i + 1].meaning.value)) {
    case Unit::kDay:
      return count > today ? FoundDates() : found(DateStamp::from_days(today - count), 3);
    case Unit::kWeek:
      return 7 * count > today ? FoundDates() : found(DateStamp::from_days(today - 7 * count), 3);
    case Unit::kMonth:
      return if_set(month_at(now, -count), 3);
    case Unit::kYear:
      break;
  }
  return if_set(year_at(now, -count), 3);
}

/// A date that begins with digits.
FoundDates from_digits(const FrameWords& words, std::size_t i, std::uint64_t now) {
  const char before = words.before(i);
  const bool attached = before == '.' || before == '-' || before == '/' || before == '#' ||
                        before == '$' || before == ':';
  const bool part = attached && i > 0 && words.gap(i - 1).size() == 1;  // "session-2026-09"
  if (part && words[i - 1].digit) {
    return {};
  }
  using Reader = FoundDates (*)(const FrameWords&, std::size_t);
  for (const Reader read : {Reader(three_numbers), Reader(year_and_month)}) {
    if (auto dates = read(words, i); dates.words != 0) {
      return dates;
    }
  }
  if (part || before == '#' || before == '$') {
    return {};
  }
  if (auto dates = day_first(words, i, now); dates.words != 0) {
    return dates;
  }
  const std::uint64_t year = year_of(words, i);
  if (year == 0) {
    return now == 0 ? FoundDates() : some_time_ago(words, i, now);
  }
  if (const auto number = quarter_of(words, i + 1); number && loose_gap(words, i)) {
    return quarter(year, *number);
  }
  return found({static_cast<unsigned>(year), 0, 0}, 1);
}

}  // namespace

FoundDates ReadDate(const FrameWords& words, std::size_t i, std::uint64_t now) {
  if (words[i].digit) {
    return from_digits(words, i, now);
  }
  switch (words[i].meaning.kind) {
    case WordKind::kMonth:
      return month_first(words, i, now);
    case WordKind::kDay:
      return now == 0 ? FoundDates()
                      : found(DateStamp::from_days(static_cast<std::int64_t>(now) / kSecondsPerDay +
                                                   words[i].meaning.value),
                              1);
    case WordKind::kDirection:
      return now == 0 ? FoundDates() : directed(words, i, now);
    case WordKind::kNumber:
      return now == 0 ? FoundDates() : some_time_ago(words, i, now);
    default:
      break;
  }
  if (const auto number = quarter_of(words, i); number && is_gap(words, i, " ")) {
    const std::uint64_t year = year_of(words, i + 1);
    return year == 0 ? FoundDates() : quarter(year, *number);
  }
  return {};
}

}  // namespace mrb::memory
