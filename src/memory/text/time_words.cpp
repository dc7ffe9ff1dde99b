#include "memory/text/time_words.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace mrb::memory {

namespace {

struct Known {
  std::string_view word;
  WordMeaning meaning;
};

constexpr WordMeaning Month(int value) {
  return {WordKind::kMonth, value};
}
constexpr WordMeaning Weekday(int value) {
  return {WordKind::kWeekday, value};
}
constexpr WordMeaning UnitWord(Unit value) {
  return {WordKind::kUnit, static_cast<int>(value)};
}
constexpr WordMeaning Count(int value) {
  return {WordKind::kNumber, value};
}
constexpr WordMeaning Place(int value) {
  return {WordKind::kPlaceCue, value};
}
constexpr WordMeaning Cause() {
  return {WordKind::kCauseCue, 0};
}

constexpr auto SortedWords() {
  auto words = std::to_array<Known>({
      {"january", Month(1)},
      {"jan", Month(1)},
      {"february", Month(2)},
      {"feb", Month(2)},
      {"march", Month(3)},
      {"mar", Month(3)},
      {"april", Month(4)},
      {"apr", Month(4)},
      {"may", Month(5)},
      {"june", Month(6)},
      {"jun", Month(6)},
      {"july", Month(7)},
      {"jul", Month(7)},
      {"august", Month(8)},
      {"aug", Month(8)},
      {"september", Month(9)},
      {"sep", Month(9)},
      {"sept", Month(9)},
      {"october", Month(10)},
      {"oct", Month(10)},
      {"november", Month(11)},
      {"nov", Month(11)},
      {"december", Month(12)},
      {"dec", Month(12)},
      {"monday", Weekday(0)},
      {"tuesday", Weekday(1)},
      {"wednesday", Weekday(2)},
      {"thursday", Weekday(3)},
      {"friday", Weekday(4)},
      {"saturday", Weekday(5)},
      {"sunday", Weekday(6)},
      {"yesterday", {WordKind::kDay, -1}},
      {"today", {WordKind::kDay, 0}},
      {"tomorrow", {WordKind::kDay, 1}},
      {"last", {WordKind::kDirection, -1}},
      {"this", {WordKind::kDirection, 0}},
      {"next", {WordKind::kDirection, 1}},
      {"day", UnitWord(Unit::kDay)},
      {"days", UnitWord(Unit::kDay)},
      {"week", UnitWord(Unit::kWeek)},
      {"weeks", UnitWord(Unit::kWeek)},
      {"month", UnitWord(Unit::kMonth)},
      {"months", UnitWord(Unit::kMonth)},
      {"year", UnitWord(Unit::kYear)},
      {"years", UnitWord(Unit::kYear)},
      {"ago", {WordKind::kAgo, 0}},
      {"a", Count(1)},
      {"an", Count(1)},
      {"one", Count(1)},
      {"two", Count(2)},
      {"three", Count(3)},
      {"four", Count(4)},
      {"five", Count(5)},
      {"six", Count(6)},
      {"seven", Count(7)},
      {"eight", Count(8)},
      {"nine", Count(9)},
      {"ten", Count(10)},
      {"in", Place(0)},
      {"at", Place(0)},
      {"near", Place(0)},
      {"from", Place(1)},
      {"to", Place(1)},
      {"because", Cause()},
      {"since", Cause()},
      {"caused", Cause()},
      {"led", Cause()},
      {"due", Cause()},
  });
  std::ranges::sort(words, {}, &Known::word);
  return words;
}

constexpr auto kWords = SortedWords();
constexpr std::size_t kMaxWord = 9;

/// By first letter: the lengths of the known words that begin so, as bits, and the first of them.
/// Nearly every word of a text is turned away here.
struct FirstLetter {
  std::uint32_t lengths = 0;
  std::uint32_t first = 0;
};

constexpr auto FirstLetters() {
  std::array<FirstLetter, 256> letters{};
  for (std::size_t i = kWords.size(); i-- > 0;) {
    FirstLetter& letter = letters[static_cast<unsigned char>(kWords[i].word.front())];
    letter.lengths |= 1U << kWords[i].word.size();
    letter.first = static_cast<std::uint32_t>(i);
  }
  return letters;
}

constexpr auto kLetters = FirstLetters();

constexpr auto kTimeCues = std::to_array<std::string_view>(
    {"after",      "afterward", "afterwards", "before",     "began",        "begun",    "currently",
     "during",     "earlier",   "ended",      "eventually", "finally",      "finished", "followed",
     "following",  "happened",  "initially",  "later",      "meanwhile",    "occurred", "once",
     "previously", "prior",     "resolved",   "started",    "subsequently", "today",    "tomorrow",
     "until",      "whenever",  "while",      "yesterday"});
static_assert(std::ranges::is_sorted(kTimeCues));

}  // namespace

WordMeaning MeaningOf(std::string_view word) {
  if (word.empty() || word.size() > kMaxWord) {
    return {};
  }
  const FirstLetter& letter = kLetters[static_cast<unsigned char>(word.front())];
  if ((letter.lengths >> word.size() & 1U) == 0) {
    return {};
  }
  for (std::size_t i = letter.first; i < kWords.size() && kWords[i].word.front() == word.front();
       ++i) {
    if (kWords[i].word == word) return kWords[i].meaning;
  }
  return {};
}

bool IsTimeCue(std::string_view word) {
  return std::ranges::binary_search(kTimeCues, word);
}

}  // namespace mrb::memory
