#include "probe/sources/simulated/moment.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {
namespace {

class MomentTest : public SimulatedTest {};

TEST_F(MomentTest, IsReadByTheCalendar) {
  const Moment moment = MomentOf(kMonday + 2 * kDay + 14 * kHour + 5 * kMinute + 9);
  EXPECT_EQ(moment.day, kMonday / kDay + 2);
  EXPECT_EQ(moment.weekday, 2);
  EXPECT_EQ(moment.minute_of_day, 14 * 60 + 5);
  EXPECT_EQ(moment.second, 9);
  EXPECT_EQ(moment.minute, (kMonday + 2 * kDay) / 60 + 14 * 60 + 5);
}

TEST_F(MomentTest, FollowsTheTimeZoneOfTheProcess) {
  setenv("TZ", "XYZ-3", 1);  // three hours east
  tzset();
  const Moment moment = MomentOf(kMonday - 2 * kHour);
  setenv("TZ", "UTC", 1);
  tzset();
  EXPECT_EQ(moment.weekday, 0);
  EXPECT_EQ(moment.day, kMonday / kDay);
  EXPECT_EQ(moment.minute_of_day, 60);
}

TEST_F(MomentTest, CountsDaysAsTheEpochDoesOverLeapYears) {
  for (time_t day = -800; day < 25'000; day += 13) EXPECT_EQ(MomentOf(day * kDay).day, day);
}

TEST_F(MomentTest, BeginsWeeksOnMonday) {
  const Moment monday = MomentOf(kMonday);
  EXPECT_EQ(MondayOf(monday.Week()), monday.day);
  EXPECT_EQ(MomentOf(kMonday + 7 * kDay - 1).Week(), monday.Week());
  EXPECT_EQ(MomentOf(kMonday + 7 * kDay).Week(), monday.Week() + 1);
  EXPECT_EQ(WeekdayOf(0), 3);
  EXPECT_EQ(WeekdayOf(-4), 6);
}

TEST_F(MomentTest, DividesDownwards) {
  const auto slot = [](std::int64_t minute, std::int64_t phase = 0) { return Moment{.minute = minute}.Slot(3, phase); };
  EXPECT_EQ(slot(7), 2);
  EXPECT_EQ(slot(6), 2);
  EXPECT_EQ(slot(-1), -1);
  EXPECT_EQ(slot(-3), -1);
  EXPECT_EQ(slot(-4), -2);
  EXPECT_EQ(slot(-4, 1), -1);
  EXPECT_EQ(slot(6, -7), -1);
  EXPECT_EQ(MomentOf(-1).minute, -1);
  EXPECT_EQ(MomentOf(-60).minute, -1);
  EXPECT_EQ(MomentOf(-61).minute, -2);
}

}  // namespace
}  // namespace probe::simulated
