#include "monitor/engine/time_keys.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "monitor/engine/monitor.h"
#include "tests/support/local_time.h"

namespace {

using test::At;

class TimeKeys : public ::testing::Test {
 protected:
  test::LocalZone zone{"UTC"};
};

TEST_F(TimeKeys, NamesADay) {
  EXPECT_EQ(Monitor::GetDateStr(At(2026, 11, 15, 12)), "2026-11-15");
}

TEST_F(TimeKeys, NamesAMoment) {
  EXPECT_EQ(Monitor::GetDateTimeStr(At(2026, 11, 15, 7, 14, 35)), "2026-11-15 07:14:35");
}

TEST_F(TimeKeys, UsesTheLocalTimeZone) {
  constexpr long kLateEveningUtc = 1794783600;  // 2026-11-15 23:00:00 UTC
  zone.Set("Asia/Kolkata");
  EXPECT_EQ(Monitor::GetDateTimeStr(kLateEveningUtc), "2026-11-16 04:30:00");
  EXPECT_EQ(Monitor::GetDateStr(kLateEveningUtc), "2026-11-16");
}

TEST_F(TimeKeys, StartsTheWeekOnThatSunday) {
  EXPECT_EQ(Monitor::GetWeekStr(At(2026, 11, 15, 12)), "2026-11-15/2026-11-21");
}

TEST_F(TimeKeys, EndsTheWeekOnThatSaturday) {
  EXPECT_EQ(Monitor::GetWeekStr(At(2026, 11, 21, 12)), "2026-11-15/2026-11-21");
}

TEST_F(TimeKeys, NamesTheSameWeekOnEachOfItsDays) {
  for (int day = 15; day <= 21; ++day) {
    EXPECT_EQ(Monitor::GetWeekStr(At(2026, 11, day, 0)), "2026-11-15/2026-11-21") << day;
    EXPECT_EQ(Monitor::GetWeekStr(At(2026, 11, day, 23, 59, 59)), "2026-11-15/2026-11-21") << day;
  }
  EXPECT_EQ(Monitor::GetWeekStr(At(2026, 11, 22, 0)), "2026-11-22/2026-11-28");
}

TEST_F(TimeKeys, NamesAWeekAcrossTheYearsEnd) {
  EXPECT_EQ(Monitor::GetWeekStr(At(2027, 1, 1, 12)), "2026-12-27/2027-01-02");
}

TEST_F(TimeKeys, NamesNoDateForATimeThatHasNoneWithoutAFault) {
  if (sizeof(long) == 4) return;  // every time of 32 bits has a date
  for (const long time : {std::numeric_limits<long>::max(), std::numeric_limits<long>::min()}) {
    EXPECT_EQ(Monitor::GetDateStr(time), "1900-01-00");
    EXPECT_EQ(Monitor::GetDateTimeStr(time), "1900-01-00 00:00:00");
    EXPECT_EQ(Monitor::GetWeekStr(time), "1900-01-00/1900-01-00");
    EXPECT_EQ(monitoring::time_keys::SecondsIntoDay(time), 0);
    EXPECT_EQ(monitoring::time_keys::SecondsIntoWeek(time), 0);
  }
}

TEST_F(TimeKeys, EndsTheLastWeekOf32BitTimesWhereTheyEnd) {
  if (sizeof(time_t) != 4) return;  // longer times go on
  EXPECT_EQ(Monitor::GetWeekStr(std::numeric_limits<long>::max()), "2038-01-17/2038-01-19");
}

TEST_F(TimeKeys, CountsWholeMinutesSinceTheEpoch) {
  EXPECT_EQ(monitoring::time_keys::Minute(59), 0);
  EXPECT_EQ(monitoring::time_keys::Minute(60), 1);
  EXPECT_EQ(monitoring::time_keys::Minute(1'795'219'259), 29'920'320);
}

TEST_F(TimeKeys, ReadsOffTheClockHowFarADayAndAWeekHaveCome) {
  using monitoring::time_keys::SecondsIntoDay;
  using monitoring::time_keys::SecondsIntoWeek;
  EXPECT_EQ(SecondsIntoDay(At(2026, 11, 15, 0)), 0);  // a Sunday
  EXPECT_EQ(SecondsIntoWeek(At(2026, 11, 15, 0)), 0);
  EXPECT_EQ(SecondsIntoDay(At(2026, 11, 18, 1, 2, 3)), 3'723);
  EXPECT_EQ(SecondsIntoWeek(At(2026, 11, 18, 1, 2, 3)), 3 * 86'400 + 3'723);
  EXPECT_EQ(SecondsIntoWeek(At(2026, 11, 21, 23, 59, 59)), 604'799);
  zone.Set("America/New_York");
  EXPECT_EQ(SecondsIntoDay(At(2026, 3, 8, 12)), 43'200);  // eleven hours have passed
}

TEST_F(TimeKeys, CountsDaysOf86400SecondsAcrossADaylightSavingChange) {
  zone.Set("America/New_York");
  // The Sunday on which clocks go back has 25 hours: six times 86400 seconds after half past midnight it is still
  // Friday.
  EXPECT_EQ(Monitor::GetWeekStr(At(2026, 11, 1, 0, 30)), "2026-11-01/2026-11-06");
  EXPECT_EQ(Monitor::GetWeekStr(At(2026, 11, 1, 12, 0)), "2026-11-01/2026-11-07");
  // The Sunday on which they go forward has 23: 86400 seconds before Monday, half past midnight, it was Saturday.
  EXPECT_EQ(Monitor::GetWeekStr(At(2026, 3, 9, 0, 30)), "2026-03-07/2026-03-14");
  EXPECT_EQ(Monitor::GetWeekStr(At(2026, 3, 9, 12, 0)), "2026-03-08/2026-03-14");
}

}  // namespace
