#include "front/options.h"

#include <gtest/gtest.h>

#include "front/client/command_line.h"

namespace mrb::front {
namespace {

using Words = std::vector<std::string>;

TEST(SettingsTest, TakesGlobalOptionsOutOfTheLine) {
  struct Case {
    Words words;
    std::int32_t port;
    std::string home;
    Words left;
  };
  const Case cases[] = {
      {{"mb", "--port", "65535", "x"}, 65535, "", {"mb", "x"}},
      {{"mb", "x", "-p", "1", "y"}, 1, "", {"mb", "x", "y"}},
      {{"mb", "--conf", "a", "x", "--home", "b"}, 9999, "b", {"mb", "x"}},
      {{"mb", "grep", "-p", "foo"}, 9999, "", {"mb", "grep", "-p", "foo"}},
      {{"mb", "-p", "9000", "grep", "foo"}, 9000, "", {"mb", "grep", "foo"}},
      {{"mb", "grep", "x", "--port", "8000"}, 8000, "", {"mb", "grep", "x"}},
      {{"mb", "--port"}, 9999, "", {"mb", "--port"}},
      {{"mb", "x", "--conf"}, 9999, "", {"mb", "x", "--conf"}},
      {{"mb"}, 9999, "", {"mb"}},
  };
  for (const Case& c : cases) {
    const auto options = ParseOptions(c.words);
    ASSERT_TRUE(options) << c.words.back();
    EXPECT_EQ(options->port, c.port);
    EXPECT_EQ(options->data_home_override, c.home);
    EXPECT_EQ(options->arguments, c.left);
  }
}

TEST(SettingsTest, RefusesPortsWithTheValueAsItStands) {
  for (const std::string bad : {"0", "65536", "12ab", "", "-1", "+80", " 80", "99999999999"}) {
    const auto options = ParseOptions({"mb", "--port", bad, "x"});
    ASSERT_FALSE(options) << bad;
    EXPECT_EQ(options.error().text, bad);
  }
}

TEST(SettingsTest, FindsTheVerbBehindOptions) {
  EXPECT_EQ(FindVerb({"mb", "--port", "grep", "-x", "", "fs:cat", "y"}), "fs:cat");
  EXPECT_EQ(FindVerb({"mb", "--port"}), "");
}

TEST(CommandLineTest, OnlyGrepQuotesItsWords) {
  EXPECT_EQ(JoinCommandLine({"mb", "grep", "a b", "c", "", "d\"e", "f'g"}),
            R"(grep "a b" c "" "d\"e" "f'g")");
  EXPECT_EQ(JoinCommandLine({"mb", "fs:cat", "a b", ""}), "fs:cat a b ");
  EXPECT_EQ(JoinCommandLine({"mb"}), "");
}

TEST(CommandLineTest, TellsTheRoleByTheWholeLine) {
  const std::pair<const char*, Role> cases[] = {
      {"mcp", Role::kMcp},
      {"mcp x", Role::kCommand},
      {"boot", Role::kBoot},
      {"boot gui", Role::kBootGui},
      {"serve", Role::kInteractive},
      {"serve x", Role::kCommand},
      {"a gui:starting b", Role::kOrchestration},
      {"vc:start", Role::kVersionControl},
      {"vc:start now", Role::kVersionControl},
      {"xvc:starty", Role::kCommand},
      {"memory.add me, c, t, , vc:start follows the files", Role::kCommand},
      {"orchestration:start vc:start", Role::kOrchestration},
      {"", Role::kCommand},
  };
  for (const auto& [line, role] : cases) EXPECT_EQ(RoleOf(line), role) << line;
}

}  // namespace
}  // namespace mrb::front
