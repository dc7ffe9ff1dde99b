#include "common/literal_search.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "common/text.h"

namespace mrb {
namespace {

TEST(LiteralSearch, FindsWhatAPlainSearchFinds) {
  std::mt19937 random(5);
  const auto some = [&](std::size_t size, const std::string& letters) {
    std::string text(size, ' ');
    for (char& c : text) c = letters[random() % letters.size()];
    return text;
  };
  for (int round = 0; round < 20'000; ++round) {
    // "@" and "`" differ in the bit that tells upper from lower case, and are no letters.
    const std::string letters = round % 2 == 0 ? "aAb" : "aA@`bzZ[";
    const std::string text = some(random() % 120, letters);
    const std::string needle = some(random() % 4, letters);
    const std::size_t from = random() % 8;
    // The text ends where its memory does, so that a sanitizer sees every byte read past it.
    ASSERT_EQ(LiteralSearch(needle).find(text, from), text.find(needle, from)) << needle;
    ASSERT_EQ(LiteralSearch(needle, true).find(text, from),
              LowerAscii(text).find(LowerAscii(needle), from))
        << needle << " in " << text;
  }
}

}  // namespace
}  // namespace mrb
