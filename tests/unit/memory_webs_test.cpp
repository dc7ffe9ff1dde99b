// Who, when, where and why: what is read off a text, and the verbs over it.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "common/text.h"
#include "memory/context/context_store.h"
#include "memory/text/five_ws.h"
#include "memory_home.h"

namespace mrb::memory {
namespace {

using test::MemoryHome;

constexpr std::uint64_t kNow = 1'700'000'000;  // Tuesday 2023-11-14 22:13 UTC

std::string DatesOf(std::string_view text, std::string_view topic = "", std::uint64_t now = kNow) {
  FiveWs frame;
  frame.read(text, topic, now);
  std::vector<std::string> dates;
  for (const FiveWs::Date& date : frame.dates()) dates.push_back(date.stamp.text());
  return Join(dates, " ");
}

std::string TermsOf(std::string_view text, Web web) {
  FiveWs frame;
  frame.read(text, "", kNow);
  std::vector<std::string> terms;
  for (const FiveWs::Term& term : frame.terms()) {
    if (term.web == web) terms.emplace_back(frame.name(term));
  }
  return Join(terms, "|");
}

TEST(Frames, ReadDates) {
  const std::pair<const char*, const char*> cases[] = {
      {"on 2026-09-12 and 2026-09, 2026/9/3.", "2026-09-12 2026-09 2026-09-03"},
      {"at 2026-09-12T10:00:00 sharp", "2026-09-12"},
      {"31/12/2025 12/31/2025 03/04/2025 3/4/25 13/13/2025",
       "2025-12-31 2025-12-31 2025-03-04 2025-03-04"},
      {"1.2.2026 and version 1.2.3 or 10.0.0.1", "2026-01-02"},
      {"12 Sept 2026; 12th of September 2026; 1-Jan-2026", "2026-09-12 2026-09-12 2026-01-01"},
      {"Sep 12, 2026, Sept. 2026, September 2026", "2026-09-12 2026-09 2026-09"},
      {"sepember 2026 septe 1999", "2026 1999"},
      {"12 May and may be, June 3rd", "2023-05-12 2023-06-03"},
      {"in 1899, 1900, 2099 and 2100; #2024, 2024.5, v2024", "1900 2099"},
      {"30 Feb 2026, 29/2/2024, 29/2/2023", "2026-02 2024-02-29"},
      {"Q3 2026 or 2026 Q1, Q5 2026", "2026-07 2026-08 2026-09 2026-01 2026-02 2026-03 2026"},
      {"today, yesterday, Tomorrow", "2023-11-14 2023-11-13 2023-11-15"},
      {"last week", "2023-11-06 2023-11-07 2023-11-08 2023-11-09 2023-11-10 2023-11-11 2023-11-12"},
      {"last month, this month, next year", "2023-10 2023-11 2024"},
      {"last Tuesday, this Friday, next Tuesday, next Wednesday, last Monday",
       "2023-11-07 2023-11-17 2023-11-21 2023-11-15 2023-11-13"},
      {"3 days ago, two weeks ago, a month ago, 2 years ago, 99999999 days ago",
       "2023-11-11 2023-10-31 2023-10 2021"},
      {"999999999999999999999999 2026999999 days ago 5 10 15", ""},
  };
  for (const auto& [text, dates] : cases) EXPECT_EQ(DatesOf(text), dates) << text;
  EXPECT_EQ(DatesOf("no date", "session-2026-09-12-notes"), "2026-09-12");
  EXPECT_EQ(DatesOf("on 2025-01-01", "session-2026-09-12"), "2025-01-01");
  EXPECT_EQ(DatesOf("yesterday, last week, 3 days ago", "", 0), "") << "untimed";
}

TEST(Frames, ReadNamesPlacesAndCauses) {
  const std::pair<const char*, const char*> who[] = {
      {"Anna Smith: met Bob's friend and Carl Maria Weber. Then Dora left.",
       "anna smith|bob|carl maria weber|dora"},
      {"ask @max or mail eve.b@mail.example.org. @", "max|eve.b@mail.example.org"},
      {"In Berlin the API of The Times failed in May", "api|times"},
      {"the letter from Anna", "anna"},
      {"note: not a speaker", ""},
  };
  for (const auto& [text, terms] : who) EXPECT_EQ(TermsOf(text, Web::kWho), terms) << text;
  EXPECT_EQ(TermsOf("met in New York, at the office, near to home from 2020 in May", Web::kWhere),
            "new york|office|home");
  EXPECT_EQ(TermsOf("It failed because the disk  was full, so we moved. Due to rain since 2020; "
                    "led by Anna to ruin",
                    Web::kWhy),
            "the disk was full|rain since 2020|anna to ruin");
}

TEST(Webs, Verbs) {
  MemoryHome home;
  for (const char* line :
       {"addmemo me, c, trip-2023-05-01, , , Anna: we flew to Berlin because the train was late",
        "addmemo me, c, trip-2023-05-01, , , then on 2023-05-03 to Paris",
        "addmemo me, c, log, , note, third on 2024-01-02 with Anna",
        "addmemo me, c, log, , , undated", "addmemo me, c, log, , , first on 2023-05-02 in Rome"}) {
    ASSERT_TRUE(home.run(line).starts_with("OK:"));
  }
  const std::pair<const char*, const char*> steps[] = {
      {"w5 me, c, trip-2023-05-01",
       "OK: wwwww of 'trip-2023-05-01'\n  who:   anna; berlin; paris\n  what:  flew; train; late\n "
       " when:  "
       "2023-05-01; 2023-05-03\n  where: berlin; paris\n  why:   the train was late"},
      {"w5 me, c, none", "ERROR: no memory 'none' in context 'c'"},
      {"who me, c, An", "OK: 2 topic(s) on who 'An'\n  trip-2023-05-01  (anna)\n  log  (anna)"},
      {"who me, c, zoe", "ERROR: nothing on the 'who' web for 'zoe'"},
      {"where me, c, r", "OK: 1 topic(s) on where 'r'\n  log  (rome)"},
      {"WHY me, c, the train",
       "OK: 1 topic(s) on why 'the train'\n  trip-2023-05-01  (the train was "
       "late)"},
      {"when me, c, 2023-05",
       "OK: 2 topic(s) on when '2023-05'\n  trip-2023-05-01  (2023-05-01; "
       "2023-05-03)\n  log  (2023-05-02)"},
      {"when me, c, 202",
       "OK: 2 topic(s) on when '202'\n  trip-2023-05-01  (2023-05-01; "
       "2023-05-03)\n  log  (2023-05-02; 2024-01-02)"},
      {"temporal me, c, May 2023",
       "OK: 3 temporal occurrence(s) of 'May 2023'\n  trip-2023-05-01#1 [untyped]  2023-05-01  "
       "Anna: "
       "we flew to Berlin because the train was late\n  log#3 [untyped]  2023-05-02  first on "
       "2023-05-02 in Rome\n  trip-2023-05-01#2 [untyped]  2023-05-03  then on 2023-05-03 to "
       "Paris"},
      {"temporal me, c, january",
       "OK: 1 temporal occurrence(s) of 'january'\n  log#1 [note]  "
       "2024-01-02  third on 2024-01-02 with Anna"},
      {"temporal me, c, 2025", "ERROR: nothing on the temporal web for '2025'"},
      {"chain me, c, log",
       "OK: temporal chain for 'log' (2 keyword(s) bridged -> 3 event(s)):\n  log#3 [untyped]  "
       "2023-05-02  first on 2023-05-02 in Rome\n  log#1 [note]  2024-01-02  third on 2024-01-02 "
       "with Anna\n  log#2 [untyped]  undated  undated"},
      {"chain me, c, none", "ERROR: no temporal chain for 'none'"},
      {"keywords me, c, anna 2024",
       "OK: 2 memo(s) ranked by coverage of 2 terms (exact 1, semantic .5, thematic .25 per "
       "term)\n  log#1 [note] (2 via anna exact, 2024 exact)  third on 2024-01-02 with Anna\n  "
       "trip-2023-05-01#1 [untyped] (1 via anna exact)  Anna: we flew to Berlin because the train "
       "was late\n  temporal (query is time-related: 2024):\n    log#1 [note]  2024-01-02  third "
       "on "
       "2024-01-02 with Anna  date+subject"},
      {"w5build me, c, -",
       "OK: shadow 'c_w5' built — 12 frame rows from 5 memos across 2 topics (11 W topics)"},
      {"retrieve me, c_w5, where_berlin",
       "[trip-2023-05-01#1] Anna: we flew to Berlin because the train was late"},
      {"w5build me, c",
       "ERROR: shadow 'c_w5' already carries a W layer — delete its W topics to rebuild"},
      {"w5build me, none, -", "ERROR: no context 'none'"},
  };
  for (const auto& [line, answer] : steps) EXPECT_EQ(home.run(line), answer) << line;
}

/// Everything the webs hold, as text.
std::string Dump(const Webs& webs, std::uint32_t rows) {
  std::string out;
  for (const Web web : {Web::kWho, Web::kWhere, Web::kWhy}) {
    for (const std::uint32_t id : webs.terms(web).find("")) {
      out.append(webs.terms(web).term(id)).append(":");
      for (const std::uint32_t row : webs.terms(web).rows(id)) out += std::to_string(row) + " ";
    }
  }
  for (const auto& date : webs.time().between(DateStamp(1, 0, 0), DateStamp(10'000, 0, 0))) {
    out += "\n" + date.stamp.text() + ":";
    for (const std::uint32_t row : date.mentioned) out += std::to_string(row) + " ";
    for (const std::uint32_t row : date.anchored) out += "@" + std::to_string(row) + " ";
  }
  std::vector<std::pair<DateStamp, std::uint32_t>> chain;  // by another way than the links'
  for (std::uint32_t row = 0; row < rows; ++row) {
    if (webs.time().anchor(row).is_set()) chain.emplace_back(webs.time().anchor(row), row);
  }
  std::ranges::sort(chain);
  EXPECT_EQ(webs.time().chained(), chain.size());
  std::uint32_t row = webs.time().tail();
  for (auto at = chain.rbegin(); at != chain.rend(); ++at) {
    EXPECT_EQ(row, at->second);
    if (row == kNoId) return out;
    row = webs.time().earlier(row);
  }
  EXPECT_EQ(row, kNoId);
  return out;
}

TEST(Webs, AreTheSameHoweverTheyCameAbout) {
  std::mt19937 random(3);
  const std::vector<std::string> parts = {"Anna: ",      "met Bob ",    "in Rome ",
                                          "2023-05-01 ", "yesterday ",  "because of it. ",
                                          "at noon ",    "12 May 2022 "};
  ContextStore store;
  const Webs& kept_up = store.index().webs();  // built while the store is empty
  for (int i = 0; i < 400; ++i) {
    std::string content = "x ";
    for (std::size_t n = random() % 4; n > 0; --n) content += parts[random() % parts.size()];
    const std::string topic = i % 5 == 0 ? "day 2021-0" + std::to_string(1 + i % 9) : "t";
    ASSERT_TRUE(store.append({.written = kNow + random() % 10'000'000,
                              .content = content,
                              .topic = topic,
                              .keywords = {},
                              .vector = {}}));
  }
  const std::string expected = Dump(kept_up, 400);
  EXPECT_GT(expected.size(), 1000U);
  for (const std::size_t threads : {1U, 2U, 7U}) {
    EXPECT_EQ(Dump(*Webs::build(store.heap(), store.index().memos(), threads), 400), expected)
        << threads;
  }
}

}  // namespace
}  // namespace mrb::memory
