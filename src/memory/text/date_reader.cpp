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

FoundDates Found(DateStamp stamp, std::size_t words) {
  return {{stamp}, words};
}

bool IsBareYear(std::uint64_t year) {
  return year >= kFirstBareYear && year <= kLastBareYear;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// A number at the start of a word with its digits counted.
struct Number {
  std::uint64_t value = 0;
  std::size_t digits = 0;
};

Number NumberOf(const WordScan& words, std::size_t i) {
  Number number;
  if (i >= words.size() || !words[i].digit) return number;
  constexpr std::size_t kMaxDigits = 9;  // more is no part of a date
  const std::string_view word = words.word(i);
  while (number.digits < word.size() && IsDigit(word[number.digits])) {
    if (number.digits == kMaxDigits) {
      return {};
    }
    number.value = number.value * 10 + static_cast<std::uint64_t>(word[number.digits++] - '0');
  }
  return number;
}

/// The number that is all of word `i`.
Number WholeNumber(const WordScan& words, std::size_t i) {
  const Number number = NumberOf(words, i);
  return number.digits != 0 && number.digits == words[i].size() ? number : Number{};
}

/// A day of the month: "12" or "12th".
std::uint64_t DayOf(const WordScan& words, std::size_t i) {
  const Number number = NumberOf(words, i);
  if (number.digits == 0 || number.digits > 2) return 0;
  const std::string tail = LowerAscii(words.word(i).substr(number.digits));
  const bool day = tail.empty() || tail == "st" || tail == "nd" || tail == "rd" || tail == "th";
  return day ? number.value : 0;
}

/// The year in word `i`: four digits with nothing attached to them that would make them something
/// else ("2026.5", "2026-rc1").
std::uint64_t YearOf(const WordScan& words, std::size_t i) {
  const Number number = WholeNumber(words, i);
  if (number.digits != 4 || !IsBareYear(number.value)) return 0;
  const std::string_view gap = words.gap(i);
  const bool attached = gap.size() == 1 && gap != " " && gap != "\n" && i + 1 < words.size();
  return attached ? 0 : number.value;
}

bool IsGap(const WordScan& words, std::size_t i, std::string_view wanted) {
  return i + 1 < words.size() && words.gap(i) == wanted;
}

bool LooseGap(const WordScan& words, std::size_t i) {
  const std::string_view gap = i + 1 < words.size() ? words.gap(i) : "\n";
  return gap == " " || gap == ", " || gap == "," || gap == ". " || gap == "." || gap == "  ";
}

/// Three numbers with one mark between: year first, or the year last.
FoundDates ThreeNumbers(const WordScan& words, std::size_t i) {
  const std::string_view mark = i + 2 < words.size() ? words.gap(i) : "";
  if ((mark != "-" && mark != "/" && mark != "." && mark != "_") || words.gap(i + 1) != mark) {
    return {};
  }
  const Number a = WholeNumber(words, i);
  const Number b = WholeNumber(words, i + 1);
  const Number c = NumberOf(words, i + 2);
  const std::string_view tail = words.word(i + 2).substr(c.digits);
  const bool timed = tail.starts_with('T') || tail.starts_with('t');  // 2026-09-12T10:00
  if (a.digits == 0 || b.digits == 0 || b.digits > 2 || c.digits == 0 ||
      (!tail.empty() && !timed)) {
    return {};
  }
  if (IsGap(words, i + 2, mark) && mark != "-") {
    return {};  // a fourth part: an address or a version
  }
  const auto stamp = [](std::uint64_t year, std::uint64_t month, std::uint64_t day) {
    return month != 0 && day != 0 && IsDate(year, month, day)
               ? Found({static_cast<unsigned>(year), static_cast<unsigned>(month),
                        static_cast<unsigned>(day)},
                       3)
               : FoundDates();
  };
  if (a.digits == 4 && c.digits <= 2) return stamp(a.value, b.value, c.value);
  if (a.digits > 2 || !tail.empty() || (c.digits != 4 && (c.digits != 2 || mark == "."))) {
    return {};
  }
  constexpr std::uint64_t kCenturyTurn = 70;  // 69 is 2069, 70 is 1970
  const std::uint64_t year =
      c.digits == 4 ? c.value : c.value + (c.value < kCenturyTurn ? 2000 : 1900);
  return a.value > 12 ? stamp(year, b.value, a.value) : stamp(year, a.value, b.value);
}

/// "2026-09".
FoundDates YearAndMonth(const WordScan& words, std::size_t i) {
  const Number year = WholeNumber(words, i);
  const Number month = WholeNumber(words, i + 1);
  if (!IsGap(words, i, "-") || year.digits != 4 || !IsBareYear(year.value) || month.digits != 2 ||
      month.value < 1 || month.value > 12 || (IsGap(words, i + 1, "-") && words[i + 2].digit)) {
    return {};
  }
  return Found({static_cast<unsigned>(year.value), static_cast<unsigned>(month.value), 0}, 2);
}

std::optional<unsigned> QuarterOf(const WordScan& words, std::size_t i) {
  if (i >= words.size()) return std::nullopt;
  const std::string_view word = words.word(i);
  const bool quarter =
      word.size() == 2 && (word[0] == 'Q' || word[0] == 'q') && word[1] >= '1' && word[1] <= '4';
  return quarter ? std::optional(static_cast<unsigned>(word[1] - '1')) : std::nullopt;
}

FoundDates Quarter(std::uint64_t year, unsigned number) {
  FoundDates dates;
  dates.words = 2;
  for (unsigned month = 1; month <= 3; ++month) {
    dates.stamps.emplace_back(static_cast<unsigned>(year), number * 3 + month, 0U);
  }
  return dates;
}

std::uint64_t YearOfMoment(std::uint64_t now) {
  return now == 0 ? 0 : CivilFromSeconds(now).year;
}

/// A month's day, the year behind it if there is one, else that of the moment.
FoundDates DayOfMonth(const WordScan& words, std::size_t next, std::size_t taken, unsigned month,
                      std::uint64_t day, std::uint64_t now) {
  const bool close =
      next < words.size() && (LooseGap(words, next - 1) || words.gap(next - 1) == "-");
  const std::uint64_t year = close ? YearOf(words, next) : 0;
  const std::uint64_t used = year != 0 ? year : YearOfMoment(now);
  if (day == 0 || !IsDate(used, month, day)) {
    return {};
  }
  return Found({static_cast<unsigned>(used), month, static_cast<unsigned>(day)},
               taken + (year != 0 ? 1 : 0));
}

/// "Sep 12, 2026", "September 2026", "Sept 12".
FoundDates MonthFirst(const WordScan& words, std::size_t i, std::uint64_t now) {
  const auto month = static_cast<unsigned>(words[i].meaning.value);
  if (i + 1 >= words.size() || !LooseGap(words, i)) {
    return {};
  }
  if (const std::uint64_t year = YearOf(words, i + 1); year != 0) {
    return Found({static_cast<unsigned>(year), month, 0}, 2);
  }
  return DayOfMonth(words, i + 2, 2, month, DayOf(words, i + 1), now);
}

/// "12 Sept 2026", "12th of September".
FoundDates DayFirst(const WordScan& words, std::size_t i, std::uint64_t now) {
  const std::uint64_t day = DayOf(words, i);
  if (day == 0 || i + 1 >= words.size() || (words.gap(i) != " " && words.gap(i) != "-")) {
    return {};
  }
  const bool of = EqualsIgnoreCase(words.word(i + 1), "of");
  const std::size_t month = i + (of ? 2 : 1);
  if (words.meaning(month).kind != WordKind::kMonth) {
    return {};
  }
  return DayOfMonth(words, month + 1, month + 1 - i,
                    static_cast<unsigned>(words[month].meaning.value), day, now);
}

/// `months` months before or after the moment's own.
DateStamp MonthAt(std::uint64_t now, std::int64_t months) {
  const CivilTime time = CivilFromSeconds(now);
  const std::int64_t all = static_cast<std::int64_t>(time.year) * 12 + time.month - 1 + months;
  return all < 12 || all / 12 > 9999
             ? DateStamp()
             : DateStamp(static_cast<unsigned>(all / 12), static_cast<unsigned>(all % 12 + 1), 0);
}

DateStamp YearAt(std::uint64_t now, std::int64_t years) {
  const std::int64_t year = static_cast<std::int64_t>(CivilFromSeconds(now).year) + years;
  return year < 1 || year > 9999 ? DateStamp() : DateStamp(static_cast<unsigned>(year), 0, 0);
}

FoundDates IfSet(DateStamp stamp, std::size_t words) {
  return stamp.is_set() ? Found(stamp, words) : FoundDates();
}

/// "last week", "next Friday", "this year".
FoundDates Directed(const WordScan& words, std::size_t i, std::uint64_t now) {
  const std::int64_t direction = words[i].meaning.value;
  const WordMeaning what = words.meaning(i + 1);
  if (!IsGap(words, i, " ")) {
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
    return Found(DateStamp::from_days(day), 2);
  }
  if (what.kind != WordKind::kUnit) {
    return {};
  }
  switch (static_cast<Unit>(what.value)) {
    case Unit::kDay:
      return Found(DateStamp::from_days(today + direction), 2);
    case Unit::kMonth:
      return IfSet(MonthAt(now, direction), 2);
    case Unit::kYear:
      return IfSet(YearAt(now, direction), 2);
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
FoundDates SomeTimeAgo(const WordScan& words, std::size_t i, std::uint64_t now) {
  const Number digits = WholeNumber(words, i);
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
      return count > today ? FoundDates() : Found(DateStamp::from_days(today - count), 3);
    case Unit::kWeek:
      return 7 * count > today ? FoundDates() : Found(DateStamp::from_days(today - 7 * count), 3);
    case Unit::kMonth:
      return IfSet(MonthAt(now, -count), 3);
    case Unit::kYear:
      break;
  }
  return IfSet(YearAt(now, -count), 3);
}

/// A date that begins with digits.
FoundDates FromDigits(const WordScan& words, std::size_t i, std::uint64_t now) {
  const char before = words.before(i);
  const bool attached = before == '.' || before == '-' || before == '/' || before == '#' ||
                        before == '$' || before == ':';
  const bool part = attached && i > 0 && words.gap(i - 1).size() == 1;  // "session-2026-09"
  if (part && words[i - 1].digit) {
    return {};
  }
  using Reader = FoundDates (*)(const WordScan&, std::size_t);
  for (const Reader read : {Reader(ThreeNumbers), Reader(YearAndMonth)}) {
    if (auto dates = read(words, i); dates.words != 0) return dates;
  }
  if (part || before == '#' || before == '$') {
    return {};
  }
  if (auto dates = DayFirst(words, i, now); dates.words != 0) return dates;
  const std::uint64_t year = YearOf(words, i);
  if (year == 0) return now == 0 ? FoundDates() : SomeTimeAgo(words, i, now);
  if (const auto number = QuarterOf(words, i + 1); number && LooseGap(words, i)) {
    return Quarter(year, *number);
  }
  return Found({static_cast<unsigned>(year), 0, 0}, 1);
}

}  // namespace

FoundDates ReadDate(const WordScan& words, std::size_t i, std::uint64_t now) {
  if (words[i].digit) return FromDigits(words, i, now);
  switch (words[i].meaning.kind) {
    case WordKind::kMonth:
      return MonthFirst(words, i, now);
    case WordKind::kDay:
      return now == 0 ? FoundDates()
                      : Found(DateStamp::from_days(static_cast<std::int64_t>(now) / kSecondsPerDay +
                                                   words[i].meaning.value),
                              1);
    case WordKind::kDirection:
      return now == 0 ? FoundDates() : Directed(words, i, now);
    case WordKind::kNumber:
      return now == 0 ? FoundDates() : SomeTimeAgo(words, i, now);
    default:
      break;
  }
  if (const auto number = QuarterOf(words, i); number && IsGap(words, i, " ")) {
    const std::uint64_t year = YearOf(words, i + 1);
    return year == 0 ? FoundDates() : Quarter(year, *number);
  }
  return {};
}

}  // namespace mrb::memory
