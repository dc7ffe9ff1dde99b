#include "common/json_scan.h"

#include <gtest/gtest.h>

#include <string>

#include "common/json_writer.h"

namespace mrb {
namespace {

using Kind = JsonValue::Kind;

bool Accepts(const std::string& text) {
  return JsonDocument::scan(text).has_value();
}

TEST(JsonScanTest, AcceptsTheGrammarAndNothingElse) {
  for (const char* good :
       {"0", "-0", "-12.5e+7", "1E5", "\"\"", "\"\\u00e9\\/\\b\"", "true", " \t\r\n null \n", "[]",
        "{ }", "[1 , [ ] ,{\"a\":{}}]", "{\"a\":1,\"a\":[2]}", "\"\x7f\xff\""}) {
    EXPECT_TRUE(Accepts(good)) << good;
  }
  for (const char* bad : {"",           " ",
                          "01",         "-",
                          "+1",         ".5",
                          "1.",         "1e",
                          "1e+",        "tru",
                          "nulll",      "True",
                          "NaN",        "'a'",
                          "\"",         "\"\\\"",
                          "\"\\x\"",    "\"\\u12g4\"",
                          "\"\\u123",   "\"a\nb\"",
                          "[",          "]",
                          "[1",         "[1,]",
                          "[,1]",       "[1 2]",
                          "[1}",        "{",
                          "{\"a\"}",    "{\"a\":}",
                          "{\"a\":1,}", "{a:1}",
                          "{1:1}",      "{\"a\":1 \"b\":2}",
                          "{\"a\":1]",  "1 1",
                          "{}{}",       "/**/1",
                          "\uFEFF1"}) {
    EXPECT_FALSE(Accepts(bad)) << bad;
  }
  EXPECT_FALSE(Accepts(std::string("1\0", 2)));
  EXPECT_EQ(JsonDocument::scan("[1, x]").error().text, "JSON text has no value at byte 4");
}

TEST(JsonScanTest, FindsValuesBelow) {
  const auto document =
      JsonDocument::scan(R"({"id": -7 ,"big":99999999999999999999,"real":1.5,"on":true,)"
                         R"("list":[[1,2],{"x":"y"},"z"],"k\u0065y":"first","key":"second"})");
  ASSERT_TRUE(document.has_value());
  const JsonValue root = document->root();
  EXPECT_EQ(root.find("id").integer(), -7);
  EXPECT_EQ(root.find("id").raw(), "-7");
  EXPECT_EQ(root.find("big").integer(), std::nullopt);
  EXPECT_EQ(root.find("real").integer(), std::nullopt);
  EXPECT_EQ(root.find("on").boolean(), true);
  EXPECT_EQ(root.find("key").text(), "first");
  EXPECT_EQ(root.members().size(), 7U);
  EXPECT_EQ(root.members()[6].second.text(), "second");
  const auto list = root.find("list").elements();
  ASSERT_EQ(list.size(), 3U);
  EXPECT_EQ(list[0].raw(), "[1,2]");
  EXPECT_EQ(list[1].find("x").text(), "y");
  EXPECT_EQ(list[2].text(), "z");
  EXPECT_EQ(root.find("list").find("none").find("of").text(), "");
  EXPECT_TRUE(root.find("none").is(Kind::kMissing));
  EXPECT_TRUE(root.find("on").elements().empty());
}

TEST(JsonScanTest, DecodesStrings) {
  struct Case {
    const char* quoted;
    std::string text;
  };
  for (const Case& c : {
           Case{R"("a\"\\\/\b\f\n\r\tz")", "a\"\\/\b\f\n\r\tz"},
           Case{R"("\u0041\u00e9\u20AC\uD83D\uDE00")", "A\u00e9\u20ac\U0001F600"},
           Case{R"("\u0000")", std::string(1, '\0')},
           Case{R"("\ud83d!")", "\uFFFD!"},
           Case{R"("\ude00\ud83d")", "\uFFFD\uFFFD"},
           Case{R"("\ud83d\ud83d\ude00")", "\uFFFD\U0001F600"},
           Case{"\"\xff\xe2\x82x\"", "\uFFFD\uFFFD\uFFFDx"},
       }) {
    const auto document = JsonDocument::scan(c.quoted);
    ASSERT_TRUE(document.has_value()) << c.quoted;
    EXPECT_EQ(document->root().text(), c.text) << c.quoted;
    EXPECT_EQ(JsonDocument::scan(JsonString(c.text))->root().text(), c.text);
  }
}

TEST(JsonScanTest, BoundsDepthAndCount) {
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_TRUE(Accepts(nested(JsonDocument::kMaxDepth)));
  EXPECT_FALSE(Accepts(nested(JsonDocument::kMaxDepth + 1)));
  EXPECT_FALSE(Accepts(std::string(1U << 20U, '[')));
  std::string many = "[0";
  for (std::size_t i = 0; i < JsonDocument::kMaxValues; ++i) many += ",0";
  EXPECT_FALSE(Accepts(many + "]"));
}

}  // namespace
}  // namespace mrb
