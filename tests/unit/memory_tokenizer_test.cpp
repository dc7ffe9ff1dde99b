#include "memory/text/tokenizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace mrb::memory {
namespace {

using Strings = std::vector<std::string>;

Strings StringsOf(const TokenList& list) {
  const auto views = list.views();
  return {views.begin(), views.end()};
}

TEST(Tokenizer, Table) {
  const std::string longest(255, 'q');
  const struct {
    std::string text;
    Strings tokens;
  } cases[] = {
      {"Build v1.2.3 of File.CPP, then rebuild.",
       {"build", "v1.2.3", "of", "file.cpp", "then", "rebuild"}},
      {"", {}},
      {"x = y A I", {}},
      {"AI the", {"ai", "the"}},
      {".net end. a..b a.b .. a.", {"net", "end", "a.b"}},
      {"\xC3\x89t\xC3\xA9", {}},
      {"alpha ALPHA Alpha beta alpha", {"alpha", "beta"}},
      {std::string("nul\0byte", 8), {"nul", "byte"}},
      {longest, {longest}},
      {longest + "q next", {"next"}},
      {longest + ".q next", {"next"}},
      {longest + ". next", {longest, "next"}},
  };
  for (const auto& test : cases) EXPECT_EQ(StringsOf(StripToTokens(test.text)), test.tokens);
}

TEST(Tokenizer, GivenKeywordsComeFirstAsTheyAre) {
  const Strings given = {"Foo Bar", "", "alpha", "Foo Bar", "x"};
  EXPECT_EQ(StringsOf(BuildKeywordList(given, "beta Alpha foo bar")),
            (Strings{"Foo Bar", "alpha", "x", "beta", "foo", "bar"}));
}

TEST(Tokenizer, KnowsTheCommonWords) {
  for (const char* word : {"a", "the", "your", "i", "which"}) EXPECT_TRUE(IsCommonWord(word));
  for (const char* word : {"", "The", "memory", "th", "zebra"}) EXPECT_FALSE(IsCommonWord(word));
}

/// The rules spelled out one after the other, slowly.
Strings NaiveTokens(const std::string& text) {
  const auto letter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  };
  Strings runs = {""};
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool dot =
        text[i] == '.' && !runs.back().empty() && i + 1 < text.size() && letter(text[i + 1]);
    if (!letter(text[i]) && !dot) {
      runs.emplace_back();
    } else {
      const bool upper = text[i] >= 'A' && text[i] <= 'Z';
      runs.back() += static_cast<char>(upper ? text[i] + 32 : text[i]);
    }
  }
  Strings tokens;
  for (const std::string& run : runs) {
    const bool fits = run.size() >= 2 && run.size() <= 255;
    if (fits && std::ranges::find(tokens, run) == tokens.end()) tokens.push_back(run);
  }
  return tokens;
}

TEST(Tokenizer, AgreesWithTheNaiveOne) {
  std::mt19937 random(7);
  const std::string alphabet = "aaBz09.. ,\n\x80\xFF";
  for (int round = 0; round < 3000; ++round) {
    std::string text(random() % 700, ' ');
    const std::size_t kinds = 1 + random() % alphabet.size();
    for (char& c : text) c = alphabet[random() % kinds];
    ASSERT_EQ(StringsOf(StripToTokens(text)), NaiveTokens(text)) << text;
  }
}

}  // namespace
}  // namespace mrb::memory
