#include "memory/verbs/fields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "memory/record/context_id.h"
#include "memory/record/memo_types.h"

namespace mrb::memory {
namespace {

using Strings = std::vector<std::string>;

TEST(Fields, SplitAtCommasOutsideBraces) {
  const struct {
    std::string text;
    std::size_t limit;
    Strings fields;
  } cases[] = {
      {"me, notes, t, , hello, world", 5, {"me", "notes", "t", "", "hello, world"}},
      {" me ,\t{a, b} , t", 5, {"me", "{a, b}", "t"}},
      {"{{a,b},c},d", 2, {"{{a,b},c}", "d"}},
      {"{a, b", 3, {"{a", "b"}},
      {"}, {a", 3, {"}", "{a"}},
      {"a, {x,y}, z", 2, {"a", "{x,y}, z"}},
      {"", 3, {""}},
      {",", 3, {"", ""}},
  };
  for (const auto& test : cases) {
    const auto fields = SplitFields(test.text, test.limit);
    EXPECT_EQ(Strings(fields.begin(), fields.end()), test.fields) << test.text;
  }
}

TEST(Fields, KeywordsAndContexts) {
  EXPECT_EQ(SplitKeywords(" one \"two words\"  \"open three"),
            (Strings{"one", "two words", "\"open", "three"}));
  EXPECT_EQ(SplitKeywords("-"), Strings());
  EXPECT_EQ(SplitKeywords("- a"), (Strings{"-", "a"}));
  EXPECT_EQ(SplitContexts("{a, b ,a}"), (Strings{"a", "b"}));
  EXPECT_EQ(SplitContexts("a"), Strings{"a"});
  EXPECT_EQ(SplitContexts("{}"), Strings{""});
}

TEST(Fields, MemoTypes) {
  EXPECT_EQ(ParseMemoTypes(" usage|procedure ").value(), 1U << 7U | 1U);
  EXPECT_EQ(ParseMemoTypes("").value(), 0U);
  EXPECT_EQ(FormatMemoTypes(1U << 15U | 1U << 7U | kVectorBit), "usage|todo");
  EXPECT_EQ(FormatMemoTypes(kVectorBit), "untyped");
  for (const char* bad : {"Usage", "usage|", "usage procedure", "-"}) {
    EXPECT_FALSE(ParseMemoTypes(bad)) << bad;
  }
}

TEST(Fields, ContextIdsAreFolderNamesEverywhere) {
  for (const std::string& good :
       {std::string("a"), std::string("me notes_w5"), std::string("\xC3\xA9t\xC3\xA9"),
        std::string("a.b"), std::string(128, 'x'), std::string("console"), std::string("com10")}) {
    EXPECT_TRUE(CheckContextId(good)) << good;
  }
  for (const std::string& bad :
       {std::string(), std::string(129, 'x'), std::string("a/b"), std::string("a\\b"),
        std::string(".."), std::string(".purged"), std::string("a."), std::string("a "),
        std::string("NUL"), std::string("com1.txt"), std::string("aux .x"), std::string("a\nb"),
        std::string("a\0b", 3), std::string("c:"), std::string("*"), std::string("{a}"),
        std::string("a,b"), std::string("\xFF")}) {
    EXPECT_FALSE(CheckContextId(bad)) << bad;
  }
}

}  // namespace
}  // namespace mrb::memory
