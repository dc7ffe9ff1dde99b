#include "platform/local_time.h"

#include <gtest/gtest.h>

#include <ctime>

namespace mrb::platform {
namespace {

TEST(LocalTimeTest, AgreesWithTheLibraryOverSummersAndWinters) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  int compared = 0;
  for (std::time_t at = 86'400; at < 2'000'000'000; at += 2'345'678) {
    const CivilTime time = LocalTime(at * kSecond + kSecond - 1);
    const std::tm* library = std::localtime(&at);
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(time.year, static_cast<unsigned>(library->tm_year + 1900));
    EXPECT_EQ(time.month, static_cast<unsigned>(library->tm_mon + 1));
    EXPECT_EQ(time.day, static_cast<unsigned>(library->tm_mday));
    EXPECT_EQ(time.hour, static_cast<unsigned>(library->tm_hour));
    EXPECT_EQ(time.minute, static_cast<unsigned>(library->tm_min));
    EXPECT_EQ(time.second, static_cast<unsigned>(library->tm_sec));
    ++compared;
  }
  EXPECT_GT(compared, 800);
  EXPECT_GE(LocalNow().year, 2026U);
  EXPECT_EQ(LocalTime(-kSecond * 86'400 * 365 - 1).year, 1968U);  // wherever the zone
}

}  // namespace
}  // namespace mrb::platform
