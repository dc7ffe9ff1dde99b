#include "front/client/detach_keys.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace mrb::front {
namespace {

TEST(DetachKeysTest, PassesEverythingButItsOwnKeys) {
  const auto pass = [](std::initializer_list<const char*> pieces) {
    DetachKeys keys;
    std::string all;
    for (const char* piece : pieces) {
      const DetachKeys::Passed passed = keys.pass(piece);
      all += passed.keys + (passed.detach ? "!" : "|");
    }
    return all;
  };
  EXPECT_EQ(pass({"ab\x03", "d"}), "ab\x03|d|");
  EXPECT_EQ(pass({"a\x1c", "dx"}), "a|!");
  EXPECT_EQ(pass({"\x1c\x1c", "d"}), "\x1c|d|");
  EXPECT_EQ(pass({"\x1cx\x1c", "\x1b[A"}), "\x1cx|\x1c\x1b[A|");
}

}  // namespace
}  // namespace mrb::front
