#include "monitor/reports/network/network_periods.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "tests/monitor/reports/network/network_samples.h"

namespace vexora_probe::monitor {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::SizeIs;

TEST(NetworkPeriods, TakeBothEndsOfTheWeekIn) {
  const ReportTime time = Wednesday();
  EXPECT_FALSE(time.IsInWeek("2026-11-14"));
  EXPECT_TRUE(time.IsInWeek("2026-11-15"));
  EXPECT_TRUE(time.IsInWeek("2026-11-21"));
  EXPECT_FALSE(time.IsInWeek("2026-11-22"));
}

TEST(NetworkPeriods, CountTheWeekdaysThatHaveBegunFromSundayOn) {
  ReportTime time = Wednesday();
  EXPECT_EQ(time.WeekdaysBegun(), 4);
  time.weekday = 0;
  EXPECT_EQ(time.WeekdaysBegun(), 1);
}

TEST(NetworkPeriods, DivideByZeroToInfinityOrNotANumber) {
  EXPECT_EQ(Quotient(3, 2), 1.5);
  EXPECT_EQ(Quotient(3, 0), std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(Quotient(0, 0)));
}

TEST(NetworkPeriods, FinishEveryRecordOfTheDaysBeforeToday) {
  Buckets daily{{"2026-11-16", {{"a", {}}, {"b", {}}}}, {"2026-11-17", {{"a", {}}}}, {"2026-11-18", {{"a", {}}}}};
  std::vector<std::string> finished;
  ForEachFinishedRecord("2026-11-18", daily,
                        [&](const std::string& day, const std::string& id, AccessPoints& measured) {
                          finished.push_back(day + " " + id);
                          measured.client.current = 7;
                        });
  EXPECT_THAT(finished, ElementsAre("2026-11-16 a", "2026-11-16 b", "2026-11-17 a"));
  EXPECT_EQ(daily["2026-11-17"]["a"].measured.client.current, 7U);
  EXPECT_EQ(daily["2026-11-18"]["a"].measured.client.current, 0U);
}

TEST(NetworkPeriods, DropTheOldestOfEightDays) {
  Buckets daily = EightDays({});
  EXPECT_TRUE(DropOldestDay(daily));
  EXPECT_THAT(daily, SizeIs(7));
  EXPECT_EQ(daily.begin()->first, "2026-11-12");
  EXPECT_FALSE(DropOldestDay(daily));
  EXPECT_THAT(daily, SizeIs(7));
}

TEST(NetworkPeriods, RegroupTheDaysOfTheWeekByIdAndNameTheOthers) {
  const Buckets daily{{"2026-11-14", {{"a", ClientDay(1, 1)}}},
                      {"2026-11-15", {{"a", ClientDay(2, 2)}, {"b", ClientDay(3, 3)}}},
                      {"2026-11-18", {{"a", ClientDay(4, 4)}}},
                      {"2026-11-22", {{"c", ClientDay(5, 5)}}}};
  std::vector<std::string> outside;
  const WeekOfIds week = RegroupByWeek(daily, Wednesday(), [&](const std::string& day) { outside.push_back(day); });
  EXPECT_THAT(outside, ElementsAre("2026-11-14", "2026-11-22"));
  EXPECT_THAT(week,
              ElementsAre(Pair("a", ElementsAre(&daily.at("2026-11-15").at("a"), &daily.at("2026-11-18").at("a"))),
                          Pair("b", ElementsAre(&daily.at("2026-11-15").at("b")))));
}

}  // namespace
}  // namespace vexora_probe::monitor
