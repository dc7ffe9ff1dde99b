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

constexpr WordMeaning month(int value) {
  return {WordKind::kMonth, value};
}
constexpr WordMeaning weekday(int value) {
  return {WordKind::kWeekday, value};
}
constexpr WordMeaning unit(Unit value) {
  return {WordKind::kUnit, static_cast<int>(value)};
}
constexpr WordMeaning count(int value) {
  return {WordKind::kNumber, value};
}
constexpr WordMeaning place(int value) {
  return {WordKind::kPlaceCue, value};
}
constexpr WordMeaning cause() {
  return {WordKind::kCauseCue, 0};
}

constexpr auto sorted_words() {
  auto words = std::to_array<Known>({
      {"january", month(1)},
      {"jan", month(1)},
      {"february", month(2)},
      {"feb", month(2)},
      {"march", month(3)},
      {"mar", month(3)},
      {"april", month(4)},
      {"apr", month(4)},
      {"may", month(5)},
      {"june", month(6)},
      {"jun", month(6)},
      {"july", month(7)},
      {"jul", month(7)},
      {"august", month(8)},
      {"aug", month(8)},
      {"september", month(9)},
      {"sep", month(9)},
      {"sept", month(9)},
      {"october", month(10)},
      {"oct", month(10)},
      {"november", month(11)},
      {"nov", month(11)},
      {"december", month(12)},
      {"dec", month(12)},
      {"monday", weekday(0)},
      {"tuesday", weekday(1)},
      {"wednesday", weekday(2)},
      {"thursday", weekday(3)},
      {"friday", weekday(4)},
      {"saturday", weekday(5)},
      {"sunday", weekday(6)},
      {"yesterday", {WordKind::kDay, -1}},
      {"today", {WordKind::kDay, 0}},
      {"tomorrow", {WordKind::kDay, 1}},
      {"last", {WordKind::kDirection, -1}},
      {"this", {WordKind::kDirection, 0}},
      {"next", {WordKind::kDirection, 1}},
      {"day", unit(Unit::kDay)},
      {"days", unit(Unit::kDay)},
      {"week", unit(Unit::kWeek)},
      {"weeks", unit(Unit::kWeek)},
      {"month", unit(Unit::kMonth)},
      {"months", unit(Unit::kMonth)},
      {"year", unit(Unit::kYear)},
      {"years", unit(Unit::kYear)},
      {"ago", {WordKind::kAgo, 0}},
      {"a", count(1)},
      {"an", count(1)},
      {"one", count(1)},
      {"two", count(2)},
      {"three", count(3)},
      {"four", count(4)},
      {"five", count(5)},
      {"six", count(6)},
      {"seven", count(7)},
      {"eight", count(8)},
      {"nine", count(9)},
      {"ten", count(10)},
      {"in", place(0)},
      {"at", place(0)},
      {"near", place(0)},
      {"from", place(1)},
      {"to", place(1)},
      {"because", cause()},
      {"since", cause()},
      {"caused", cause()},
      {"led", cause()},
      {"due", cause()},
  });
  std::ranges::sort(words, {}, &Known::word);
  return words;
}

constexpr auto kWords = sorted_words();
constexpr std::size_t kLongestWord = 9;

/// By first letter: the lengths of the known words that begin so, as bits, and the first of them.
/// Nearly every word of a text is turned away here.
struct FirstLetter {
  std::uint32_t lengths = 0;
  std::uint32_t first = 0;
};

constexpr auto first_letters() {
  std::array<FirstLetter, 256> letters{};
  for (std::size_t i = kWords.size(); i-- > 0;) {
    FirstLetter& letter = letters[static_cast<unsigned char>(kWords[i].word.front())];
    letter.lengths |= 1U << kWords[i].word.size();
    letter.first = static_cast<std::uint32_t>(i);
  }
  return letters;
}

constexpr auto kLetters = first_letters();

constexpr auto kTimeCues = std::to_array<std::string_view>(
    {"after",      "afterward", "afterwards", "before",     "began",        "begun",    "currently",
     "during",     "earlier",   "ended",      "eventually", "finally",      "finished", "followed",
     "following",  "happened",  "initially",  "later",      "meanwhile",    "occurred", "once",
     "previously", "prior",     "resolved",   "started",    "subsequently", "today",    "tomorrow",
     "until",      "whenever",  "while",      "yesterday"});
static_assert(std::ranges::is_sorted(kTimeCues));

}  // namespace

WordMeaning MeaningOf(std::string_view word) {
  if (word.empty() || word.size() > kLongestWord) {
    return {};
  }
  const FirstLetter& letter = kLetters[static_cast<unsigned char>(word.front())];
  if ((letter.lengths >> word.size() & 1U) == 0) {
    return {};
  }
  for (std::size_t i = letter.first; i < kWords.size() && kWords[i].word.front() == word.front();
       ++i) {
    if (kWords[i].word == word) {
      return kWords[i].meaning;
    }
  }
  return {};
}

bool IsTimeCue(std::string_view word) {
  return std::ranges::binary_search(kTimeCues, word);
}

}  // namespace mrb::memory
