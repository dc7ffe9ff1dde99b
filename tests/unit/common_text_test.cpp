#include "common/text.h"

#include <gtest/gtest.h>

#include <random>

#include "common/fnv1a.h"
#include "common/json_scan.h"
#include "common/json_writer.h"

namespace mrb {
namespace {

using Views = std::vector<std::string_view>;

TEST(TextTest, TrimsAndSplits) {
  EXPECT_EQ(Trim(" \t a b\r\n"), "a b");
  EXPECT_EQ(Trim(" \r\n\t"), "");
  EXPECT_EQ(TrimLineEnd(" a \r\n\r\n"), " a ");
  EXPECT_EQ(TrimLineEnd("\r\n"), "");
  EXPECT_EQ(Split("a,,b,", ','), (Views{"a", "", "b", ""}));
  EXPECT_EQ(Split("", ','), Views{""});
  EXPECT_EQ(SplitWords("  a\tb  c "), (Views{"a", "b", "c"}));
  EXPECT_EQ(SplitWords(" \t"), Views{});
  EXPECT_EQ(Join({}, ", "), "");
  EXPECT_EQ(Join({"", "a", ""}, ", "), ", a, ");
}

TEST(TextTest, LettersAreAsciiOnly) {
  EXPECT_EQ(LowerAscii("AbZ[\xC3\x84"), "abz[\xC3\x84");
  EXPECT_TRUE(EqualsIgnoreCase("Memory.ADD", "memory.add"));
  EXPECT_FALSE(EqualsIgnoreCase("a", "ab"));
  EXPECT_FALSE(EqualsIgnoreCase("@", "`"));  // 32 apart, but no letters
}

TEST(TextTest, DecimalsAreDigitsInRangeOrNothing) {
  EXPECT_EQ(ParseDecimal("0"), 0U);
  EXPECT_EQ(ParseDecimal("007"), 7U);
  EXPECT_EQ(ParseDecimal("18446744073709551615"), 18446744073709551615U);
  for (const char* bad : {"", "18446744073709551616", "-1", "+1", " 1", "1 ", "1a", "0x1"}) {
    EXPECT_FALSE(ParseDecimal(bad)) << bad;
  }
  EXPECT_EQ(HexDigit('7'), 7);
  EXPECT_EQ(HexDigit('a'), 10);
  EXPECT_EQ(HexDigit('F'), 15);
  for (const char bad : {'g', '/', ':', '@', '`', '\0'}) EXPECT_EQ(HexDigit(bad), -1) << bad;
}

TEST(TextTest, Utf8SequencesAtTheirBorders) {
  struct Case {
    const char* bytes;
    std::size_t length;
  };
  for (const auto& [bytes, length] : std::vector<Case>{
           {"\x7F", 1},
           {"\x80", 0},
           {"\xC1\xBF", 0},
           {"\xC2\x80", 2},
           {"\xC2", 0},
           {"\xC2\x41", 0},
           {"\xE0\x9F\xBF", 0},
           {"\xE0\xA0\x80", 3},
           {"\xED\x9F\xBF", 3},
           {"\xED\xA0\x80", 0},
           {"\xEF\xBF\xBF", 3},
           {"\xF0\x8F\xBF\xBF", 0},
           {"\xF0\x90\x80\x80", 4},
           {"\xF4\x8F\xBF\xBF", 4},
           {"\xF4\x90\x80\x80", 0},
           {"\xF5\x80\x80\x80", 0},
           {"\xE2\x82", 0},
       }) {
    EXPECT_EQ(Utf8SequenceLength(bytes), length) << JsonString(bytes);
  }
  EXPECT_EQ(Utf8SequenceLength(""), 0U);
}

TEST(TextTest, CuttingKeepsSequencesWhole) {
  const std::string text = "a\xC3\xA4\xE2\x82\xAC";  // 1, 2 and 3 bytes
  const std::vector<std::size_t> kept{0, 1, 1, 3, 3, 3, 6, 6};
  for (std::size_t limit = 0; limit < kept.size(); ++limit) {
    EXPECT_EQ(CutUtf8(text, limit).size(), kept[limit]) << limit;
  }
  EXPECT_EQ(CutUtf8(std::string(9, '\x80'), 7).size(), 7U);  // no sequence that could be cut
}

TEST(JsonTextTest, EscapesOnlyWhatMustBe) {
  EXPECT_EQ(JsonString("\"\\/\n\r\t\b\x1f\x7f"), "\"\\\"\\\\/\\n\\r\\t\\u0008\\u001f\x7f\"");
  EXPECT_EQ(JsonString("\xE2\x80\x94 \xFF\xC3"), "\"\xE2\x80\x94 \xEF\xBF\xBD\xEF\xBF\xBD\"");
  EXPECT_EQ(JsonString(std::string_view("\0", 1)), "\"\\u0000\"");
}

TEST(JsonTextTest, AnyBytesBecomeValidJsonThatReadsBack) {
  std::mt19937 random(20'240'501);
  for (int round = 0; round < 2000; ++round) {
    std::string bytes(random() % 12, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() % 256);
    const auto scanned = JsonDocument::scan(JsonString(bytes));
    ASSERT_TRUE(scanned) << JsonString(bytes);
  }
}

TEST(Fnv1aTest, PublishedVectors) {
  EXPECT_EQ(Fnv1a(""), 0xcbf29ce484222325U);
  EXPECT_EQ(Fnv1a("a"), 0xaf63dc4c8601ec8cU);
  EXPECT_EQ(Fnv1a("foobar"), 0x85944171f73967e8U);
}

}  // namespace
}  // namespace mrb
