// Recall by words: which memos a query reaches, in which order, and how the answers read.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "memory/context/context_store.h"
#include "memory/recall/coverage.h"
#include "memory/text/tokenizer.h"
#include "memory_home.h"

namespace mrb::memory {
namespace {

using test::MemoryHome;

struct Step {
  std::string line;
  std::string answer;
};

void Play(MemoryHome& home, const std::vector<Step>& steps) {
  for (const Step& step : steps) EXPECT_EQ(home.run(step.line), step.answer) << step.line;
}

TEST(MemorySearch, RanksByCoverage) {
  MemoryHome home;
  (void)home.run("addmemo me, c, t, , note, red apples");
  (void)home.run("addmemo me, c, u, , , red apple pie\nwith cream");
  (void)home.run("addmemo me, c, t, \"Foo Bar\", todo|note, a pie");
  const std::string ranked = " terms (exact 1, semantic .5, thematic .25 per term)";
  Play(home,
       {{"keywords me, c, apple, PIE", "OK: 3 memo(s) ranked by coverage of 2" + ranked +
                                           "\n  u#1 [untyped] (2 via apple exact, pie exact)  red "
                                           "apple pie\n  t#2 [note|todo] (1 via pie exact)  a pie"
                                           "\n  t#1 [note] (0.5 via apple semantic)  red apples"},
        {"keywords me, c, red",
         "OK: 2 memo hit(s):\n    t#1 [note] (via red)  red apples"
         "\n    u#1 [untyped] (via red)  red apple pie"},
        {"keywords me, c, apples",
         "OK: 1 memo hit(s):\n    t#1 [note] (via apples)  red apples\n  related: apple (1 topic)"},
        {"keywords me, c, pies",
         "OK: 2 memo hit(s):\n    u#1 [untyped] (via pies semantic)  red apple pie"
         "\n    t#2 [note|todo] (via pies semantic)  a pie\n  related: pie (2 topics)"},
        {"keyword me, c, Foo Bar", "OK: 1 memo hit(s):\n    t#2 [note|todo] (via Foo Bar)  a pie"},
        {"keywords me, c, creamery",
         "OK: 0 keyword hit(s) for 'creamery'\n  related: cream (1 topic)"},
        {"keywords me, c, zebra", "ERROR: keyword 'zebra' not in context 'c'"},
        {"keywords me, c, zebra crossing", "OK: 0 keyword hit(s) for 'zebra crossing'"},
        {"keywords me, nowhere, red", "ERROR: keyword 'red' not in context 'nowhere'"},
        {"keywords me, c, a b",
         "ERROR: no term of 'a b' is a word that could be a keyword (two letters or digits at "
         "least)"},
        {"keywords me, c",
         "ERROR: usage  memory.keywords <botid>, <context>, <arg>   (memory.help shows the "
         "manual)"}});
}

TEST(MemorySearch, CoversContexts) {
  MemoryHome home;
  Play(home,
       {{"search me, *, red",
         "OK: no contexts loaded — name them: memory.search <botid>, {ctx}, <query>"},
        {"search me, *", "ERROR: usage  memory.search <botid>, {ctxA,ctxB}|*, <query words>"}});
  for (int i = 0; i < 50; ++i) (void)home.run("addmemo me, a, t, , , red number");
  (void)home.run("add me, b, u, , red house");
  home.reopen();
  Play(home, {{"search me, {b, none}, red house",
               "OK: 1 hit(s) across 2 context(s) for 'red house'\nb — 1 hit(s)\n  u#1 [untyped] (2 "
               "via red exact, house exact)  red house\nnone — 0 hit(s)"},
              {"find me, *, house",
               "OK: 1 hit(s) across 1 context(s) for 'house'\nb — 1 hit(s)\n  "
               "u#1 [untyped] (1 via house exact)  red house"},
              {"search me, {a,b}, blue", "OK: no memo in 2 context(s) matches 'blue'"},
              {"search me, a/b, red",
               "ERROR: bad context id 'a/b' — none of / \\ : * ? \" < > | , { } is allowed"}});
  EXPECT_TRUE(home.run("search me, *, red")
                  .starts_with("OK: 21 hit(s) across 2 context(s) for 'red'\na — 20 hit(s)\n  t#1 "
                               "[untyped] (1 via red "
                               "exact)  red number\n  t#2"));
  EXPECT_FALSE(home.exists("none"));
}

/// Every memo looked at alone, its words compared one by one.
std::map<std::uint32_t, std::uint32_t> SlowScores(const ContextIndex& index,
                                                  const std::vector<QueryTerm>& terms) {
  std::map<std::uint32_t, std::uint32_t> scores;
  for (std::uint32_t row = 0; row < index.memos().size(); ++row) {
    std::uint32_t score = 0;
    for (const QueryTerm& term : terms) {
      const auto holds = [&](const std::vector<std::uint32_t>& ids) {
        return std::ranges::any_of(ids, [&](std::uint32_t id) {
          return std::ranges::binary_search(index.keywords().rows(id), row);
        });
      };
      score += holds(term.exact) ? 4 : holds(term.semantic) ? 2 : holds(term.thematic) ? 1 : 0;
    }
    if (score > 0) scores[row] = score;
  }
  return scores;
}

TEST(MemorySearch, EqualsTheSlowRanking) {
  constexpr std::uint32_t kSeed = 7;
  std::mt19937 random(kSeed);
  std::vector<std::string> words;
  for (const char* stem : {"build", "test", "run", "walk", "house", "box", "v1"}) {
    for (const char* ending : {"", "s", "ing", "ed", "2"})
      words.push_back(std::string(stem) + ending);
  }
  ContextStore store;
  for (int i = 0; i < 5000; ++i) {  // several blocks, and thematic links
    std::string content;
    const std::size_t first = random() % words.size();
    for (std::size_t n = random() % 3; n < 4; ++n) {
      content += words[(first + random() % 6) % words.size()] + " ";
    }
    const TokenList keywords = BuildKeywordList({}, content);
    const auto views = keywords.views();
    ASSERT_TRUE(store.append({.content = content, .topic = "t", .keywords = views, .vector = {}}));
  }
  std::size_t thematic = 0;
  for (int query = 0; query < 25; ++query) {
    std::string text;
    const std::size_t terms_wanted = query % 10 == 0 ? 40 : 1 + random() % 4;
    while (terms_wanted > 0 && StripToTokens(text).size() < std::min(terms_wanted, words.size())) {
      text += words[random() % words.size()] + " ";
    }
    const std::vector<QueryTerm> terms = ReadQueryTerms(store.index(), text);
    for (const QueryTerm& term : terms) thematic += term.thematic.size();
    const auto scores = SlowScores(store.index(), terms);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> expected(scores.begin(), scores.end());
    std::ranges::sort(expected, [](const auto& a, const auto& b) {
      return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    for (const std::size_t limit : {kAllHits, std::size_t{20}, std::size_t{1}}) {
      const CoverageHits hits = RankByCoverage(store.index(), terms, limit);
      ASSERT_EQ(hits.size(), std::min(limit, expected.size())) << text;
      for (std::size_t i = 0; i < hits.size(); ++i) {
        ASSERT_EQ(hits.hits()[i].row, expected[i].first) << text << " rank " << i;
        std::uint32_t marked = 0;
        for (std::size_t term = 0; term < terms.size(); ++term) {
          const unsigned kind = hits.marks(hits.hits()[i]).of(term);
          marked += kind == 3 ? 4 : kind;
        }
        ASSERT_EQ(hits.hits()[i].score, expected[i].second) << text << " rank " << i;
        ASSERT_EQ(marked, expected[i].second) << text << " rank " << i;
      }
    }
  }
  EXPECT_GT(thematic, 0U);
}

}  // namespace
}  // namespace mrb::memory
