#include "common/civil_time.h"

#include <gtest/gtest.h>

#include <string>

namespace mrb {
namespace {

TEST(CivilTime, Table) {
  const struct {
    std::uint64_t seconds;
    std::string text;
  } cases[] = {
      {0, "1970-01-01 00:00"},
      {59, "1970-01-01 00:00"},
      {951'782'400, "2000-02-29 00:00"},
      {1'709'251'199, "2024-02-29 23:59"},
      {4'107'542'399, "2100-02-28 23:59"},
      {4'107'542'400, "2100-03-01 00:00"},
      {253'402'300'799, "9999-12-31 23:59"},
      {253'402'300'800, "10000-01-01 00:00"},
  };
  for (const auto& test : cases) EXPECT_EQ(FormatMinute(test.seconds), test.text);
  EXPECT_EQ(CivilFromSeconds(~std::uint64_t{0}).year, 584'554'051'223U);
}

/// Every day of 800 years against a calendar that counts day by day.
TEST(CivilTime, AgreesWithCountingDays) {
  std::uint64_t day = 0;
  for (std::uint64_t year = 1970; year < 2770; ++year) {
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    const unsigned lengths[] = {31, leap ? 29U : 28U, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (unsigned month = 1; month <= 12; ++month) {
      for (unsigned of_month = 1; of_month <= lengths[month - 1]; ++of_month, ++day) {
        const CivilTime time = CivilFromSeconds(day * 86'400 + 45'296);
        ASSERT_TRUE(time.year == year && time.month == month && time.day == of_month) << day;
        ASSERT_TRUE(time.hour == 12 && time.minute == 34 && time.second == 56);
      }
    }
  }
}

}  // namespace
}  // namespace mrb
