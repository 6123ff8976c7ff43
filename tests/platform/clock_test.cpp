// The calendar, over every day a FILETIME or SYSTEMTIME can hold.
#include "platform/clock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using platform::clock::DaysFromCivil;
using platform::clock::ToSystemTime;

TEST(Calendar, HandWorkedDaysThenEveryDayRoundTrips) {
  EXPECT_EQ(DaysFromCivil(2000, 3, 1), 11017);      // 10957 to 2000-01-01, then 31 + 29
  EXPECT_EQ(DaysFromCivil(1900, 3, 1), -25508);     // 1900 is no leap year
  EXPECT_EQ(DaysFromCivil(1601, 1, 1), -134774);    // the FILETIME epoch
  EXPECT_EQ(DaysFromCivil(9999, 12, 31), 2932896);  // past 32-bit seconds
  // Every day from there round-trips and follows the day before.
  const int64_t first = DaysFromCivil(1601, 1, 1), last = DaysFromCivil(9999, 12, 31);
  SYSTEMTIME before = ToSystemTime(first * 86400000 - 1);
  EXPECT_EQ((std::vector<int>{before.wYear, before.wMonth, before.wDay, before.wSecond}),
            (std::vector<int>{1600, 12, 31, 59}));
  EXPECT_EQ(before.wMilliseconds, 999);
  for (int64_t day = first; day <= last; ++day) {
    const SYSTEMTIME t = ToSystemTime(day * 86400000 + 3723004);  // 01:02:03.004
    ASSERT_EQ(DaysFromCivil(t.wYear, t.wMonth, t.wDay), day);
    ASSERT_EQ(t.wDayOfWeek, (before.wDayOfWeek + 1) % 7) << day;
    ASSERT_TRUE(t.wDay == before.wDay + 1 || (t.wDay == 1 && t.wMonth == before.wMonth % 12 + 1))
        << day;
    ASSERT_EQ(t.wHour * 10000000 + t.wMinute * 100000 + t.wSecond * 1000 + t.wMilliseconds,
              10203004);
    before = t;
  }
  EXPECT_EQ(ToSystemTime(DaysFromCivil(2024, 5, 3) * 86400000).wDayOfWeek, 5);  // a Friday
}

}  // namespace
