#include "common/url.h"

#include <gtest/gtest.h>

#include <vector>

#include "common/base64.h"

namespace mrb {
namespace {

TEST(UrlTest, DecodesEscapes) {
  EXPECT_EQ(DecodePercent("a%20b+%2e%2E%zz%4"), "a b+..%zz%4");
  EXPECT_EQ(DecodeForm("a+b%2Bc%"), "a b+c%");
  EXPECT_EQ(DecodePercent("%252e"), "%2e");
  EXPECT_EQ(DecodePercent("%00").size(), 1U);
  EXPECT_EQ(EncodeForm("aZ9-._~ +%/\xC3"), "aZ9-._~%20%2B%25%2F%C3");
}

TEST(Base64Test, EncodesTheVectorsOfRfc4648) {
  const auto encode = [](std::string_view text) {
    return EncodeBase64(std::vector<std::uint8_t>(text.begin(), text.end()));
  };
  EXPECT_EQ(encode(""), "");
  EXPECT_EQ(encode("f"), "Zg==");
  EXPECT_EQ(encode("fo"), "Zm8=");
  EXPECT_EQ(encode("foobar"), "Zm9vYmFy");
  EXPECT_EQ(encode("\xfb\xff\xbf"), "+/+/");
}

}  // namespace
}  // namespace mrb
