// Midnights, ends of weeks and years, changes of daylight-saving time, and clocks that are set back.

#include <gmock/gmock.h>

#include "monitor/reports/network/network_records.h"
#include "tests/monitor/reports/network/network_report_fixture.h"

namespace {

using test::At;
using test::kAp;
using test::kFar;
using test::kMegabitForFiveMinutes;
using test::LocalZone;
using test::NetworkReportTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_F(NetworkReportTest, StartsSamplesAnewAfterMidnightAndStillShowsYesterday) {
  Office(kAp, 10);
  SampleAt(At(2026, 11, 18, 23, 50));
  SampleAt(At(2026, 11, 18, 23, 55));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"], (Json{{"peak", 10}, {"average", 20 / 287.0}}));
  Office(kAp, 4);
  SampleAt(At(2026, 11, 19, 0, 0));
  EXPECT_EQ(Reply("daily", "2026-11-18")["spectrum_usage"]["5GHz"]["client_count"],
            (Json{{"peak", 10}, {"average", 20 / 288.0}}))
      << "a finished day has all its slots";
  EXPECT_EQ(Reply("daily", "2026-11-18")["wireless_access_points"][kAp]["apname"], "ap-01");
  SampleAt(At(2026, 11, 19, 0, 5));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"], (Json{{"peak", 4}, {"average", 8 / 2.0}}))
      << "two samples count for more than one slot begun";
  EXPECT_THAT(Periods("daily"), ElementsAre("2026-11-18", "2026-11-19"));
}

TEST_F(NetworkReportTest, MeasuresNoSpeedAcrossMidnight) {
  Office(kAp, 1, {0, 0});
  SampleAt(At(2026, 11, 18, 23, 55));
  Office(kAp, 1, {kMegabitForFiveMinutes, 0});
  SampleAt(At(2026, 11, 19, 0, 0));
  Office(kAp, 1, {kMegabitForFiveMinutes * 3, 0});
  SampleAt(At(2026, 11, 19, 0, 5));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["traffic"], (Json{{"peak", 2.0}, {"average", 2.0}}));
}

TEST_F(NetworkReportTest, StartsANewWeekOnSundayWithADivisorOfOne) {
  Office(kAp, 10);
  SampleAt(At(2026, 11, 21, 12, 0));  // Saturday, slot 144
  EXPECT_EQ(ThisWeek()["spectrum_usage"]["5GHz"]["client_count"]["average"], 10 / 144.0 / 7);
  SampleAt(At(2026, 11, 22, 12, 0));  // Sunday
  EXPECT_EQ(ThisWeek()["spectrum_usage"]["5GHz"]["client_count"]["average"], 10 / 144.0);
  EXPECT_THAT(Periods("weekly"), ElementsAre("2026-11-15/2026-11-21", "2026-11-22/2026-11-28"));
  EXPECT_EQ(Reply("weekly", "2026-11-15/2026-11-21")["spectrum_usage"]["5GHz"]["client_count"]["average"],
            10 / 144.0 / 7)
      << "a finished week stays as its last pass left it";
}

TEST_F(NetworkReportTest, KnowsTheWeekdayOfEveryPassAlsoOfOneThatTakesNoSamples) {
  Office(kAp, 1);
  SampleAt(At(2026, 11, 21, 23, 55));  // Saturday
  PassAt(At(2026, 11, 22, 0, 0));      // Sunday, and the first of five passes
  vexora_probe::monitor::Report report;
  report["daily"]["2026-11-21"]["id"].measured.traffic.average = 7;
  monitor.CalculateWeeklyTraffic(report, "2026-11-21", "2026-11-15/2026-11-21");
  EXPECT_EQ(report["weekly"]["2026-11-15/2026-11-21"]["id"].measured.traffic.average, 7) << "over one day, not seven";
}

TEST_F(NetworkReportTest, KeepsSevenDaysAndFourWeeksBesideTheCurrentOne) {
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -60)});
  for (int day = 0; day < 50; ++day) SampleAt(At(2026, 10, 4, 12, 0) + day * 86'400);
  EXPECT_THAT(Periods("daily"), ElementsAre("2026-11-16", "2026-11-17", "2026-11-18", "2026-11-19", "2026-11-20",
                                            "2026-11-21", "2026-11-22"));
  EXPECT_THAT(Periods("weekly"), ElementsAre("2026-10-25/2026-10-31", "2026-11-01/2026-11-07", "2026-11-08/2026-11-14",
                                             "2026-11-15/2026-11-21", "2026-11-22/2026-11-28"));
  EXPECT_THAT(Reply("daily", "2026-11-16")["rogue_ap"], SizeIs(1));
  EXPECT_THAT(Reply("weekly", "2026-10-25/2026-10-31")["rogue_ap"], SizeIs(1));
}

TEST_F(NetworkReportTest, RunsAWeekAcrossTheEndOfTheYear) {
  Office(kAp, 12);
  SampleAt(At(2026, 12, 31, 12, 0));  // Thursday
  SampleAt(At(2027, 1, 1, 12, 0));    // Friday
  EXPECT_THAT(Periods("daily"), ElementsAre("2026-12-31", "2027-01-01"));
  EXPECT_THAT(Periods("weekly"), ElementsAre("2026-12-27/2027-01-02"));
  EXPECT_EQ(ThisWeek()["spectrum_usage"]["5GHz"]["client_count"]["average"], (12 / 288.0 + 12 / 144.0) / 6);
}

TEST_F(NetworkReportTest, TakesTheSlotFromTheLocalClockOnAShortDay) {
  const LocalZone berlin("Europe/Berlin");
  Office(kAp, 48);
  SampleAt(At(2027, 3, 28, 4, 0));  // three hours after midnight, but slot 48
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"]["average"], 1.0);
  EXPECT_THAT(Periods("weekly"), ElementsAre("2027-03-28/2027-04-03"));
}

TEST_F(NetworkReportTest, KeepsTheSamplesOfAnHourThatComesTwice) {
  const LocalZone berlin("Europe/Berlin");
  Office(kAp, 36);
  const time_t summer = At(2026, 10, 25, 0, 0) + 2 * 3'600 + 1'800;  // 02:30, the first time
  SampleAt(summer);
  SampleAt(summer + 3'600);  // 02:30 again: the clock of the wall went back, that of the machine did not
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"], (Json{{"peak", 36}, {"average", 72 / 30.0}}));
}

TEST_F(NetworkReportTest, NamesAWeekAnewInTheFirstHourAfterAShortSunday) {
  const LocalZone berlin("Europe/Berlin");
  Office(kAp, 1);
  SampleAt(At(2027, 3, 28, 12, 0));
  EXPECT_THAT(Periods("weekly"), ElementsAre("2027-03-28/2027-04-03"));
  // A day is taken as 86400 seconds: that far before half past midnight on Monday it was still Saturday.
  SampleAt(At(2027, 3, 29, 0, 30));
  EXPECT_THAT(Periods("weekly"), ElementsAre("2027-03-27/2027-04-03"));
  SampleAt(At(2027, 3, 29, 1, 30));
  EXPECT_THAT(Periods("weekly"), ElementsAre("2027-03-27/2027-04-03", "2027-03-28/2027-04-03"));
}

TEST_F(NetworkReportTest, StartsASundayWithoutAMidnight) {
  const LocalZone beirut("Asia/Beirut");
  const time_t change = At(2027, 3, 27, 23, 55) + 300;  // 00:00 does not come: it is 01:00
  ASSERT_EQ(Monitor::GetDateTimeStr(static_cast<long>(change)), "2027-03-28 01:00:00")
      << "the time-zone data of this machine knows another rule";
  Office(kAp, 24);
  SampleAt(change - 300);
  Office(kAp, 12);
  SampleAt(change);  // slot 12 of the new day
  EXPECT_THAT(Periods("daily"), ElementsAre("2027-03-27", "2027-03-28"));
  EXPECT_THAT(Periods("weekly"), ElementsAre("2027-03-21/2027-03-27", "2027-03-28/2027-04-03"));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"]["average"], 1.0);
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["traffic"]["average"], 0.0) << "no division by a slot count of 0 today";
  EXPECT_EQ(Reply("daily", "2027-03-27")["spectrum_usage"]["5GHz"]["client_count"]["average"], 24 / 288.0);
}

/// How far the clock goes back after two samples on Wednesday, at 10:00 and 10:05, and what is left.
class ClockBack : public NetworkReportTest {
 protected:
  ClockBack() {
    Office(kAp, 9).Neighbours({Heard(kFar, "rogue", -60)});
    SampleAt(At(2026, 11, 10, 10, 0));
    SampleAt(At(2026, 11, 17, 10, 0));
    SampleAt(At(2026, 11, 18, 10, 0));
    SampleAt(At(2026, 11, 18, 10, 5));
    Office(kAp, 2).Neighbours({});
  }
};

TEST_F(ClockBack, ByAMinuteDropsTodayAndThisWeekWhichAreBuiltAnew) {
  SampleAt(At(2026, 11, 18, 10, 4));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"], (Json{{"peak", 2}, {"average", 2 / 120.0}}));
  EXPECT_THAT(Today()["rogue_ap"], IsEmpty());
  EXPECT_EQ(ThisWeek()["spectrum_usage"]["5GHz"]["client_count"]["peak"], 9) << "Tuesday's";
  EXPECT_THAT(Periods("daily"), ElementsAre("2026-11-10", "2026-11-17", "2026-11-18"));
}

TEST_F(ClockBack, ByNothingWhenThePassComesInTheSameMinuteDropsTodayToo) {
  SampleAt(At(2026, 11, 18, 10, 5));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"]["peak"], 2);
}

TEST_F(ClockBack, ByAnHourDropsTodayAndThisWeekWhichAreBuiltAnew) {
  test::LogCapture log;
  SampleAt(At(2026, 11, 18, 9, 10));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"], (Json{{"peak", 2}, {"average", 2 / 110.0}}));
  EXPECT_THAT(log.Texts(probe::log::Level::kDebug, "clear current"), SizeIs(1));
  log.Forget();
  SampleAt(At(2026, 11, 18, 9, 15));
  EXPECT_THAT(log.Texts(probe::log::Level::kDebug, "clear current"), IsEmpty()) << "once for each change of the clock";
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"], (Json{{"peak", 2}, {"average", 4 / 111.0}}));
}

TEST_F(ClockBack, ByADayIsSeenByTheTimeOfTheLastCollectionAndDropsTheFuture) {
  SampleAt(At(2026, 11, 17, 12, 0));
  EXPECT_THAT(Periods("daily"), ElementsAre("2026-11-10", "2026-11-17"));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"], (Json{{"peak", 2}, {"average", 2 / 144.0}}))
      << "the new today is built anew";
}

TEST_F(ClockBack, ByAnHourAcrossMidnightBuildsTheDayBeforeAnew) {
  SampleAt(At(2026, 11, 18, 23, 55));
  SampleAt(At(2026, 11, 19, 0, 0));
  SampleAt(At(2026, 11, 19, 0, 30));
  Office(kAp, 2).Neighbours({Heard(kFar, "rogue", -60)});
  SampleAt(At(2026, 11, 18, 23, 30));  // slot 282
  EXPECT_THAT(Periods("daily"), ElementsAre("2026-11-10", "2026-11-17", "2026-11-18"));
  EXPECT_THAT(Periods("weekly"), ElementsAre("2026-11-08/2026-11-14", "2026-11-15/2026-11-21"));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"], (Json{{"peak", 2}, {"average", 2 / 282.0}}))
      << "the samples from before midnight are gone since the first pass after it";
  EXPECT_EQ(ThisWeek()["spectrum_usage"]["5GHz"]["client_count"],
            (Json{{"peak", 9}, {"average", (9 / 288.0 + 2 / 282.0) / 4}}))
      << "Tuesday's sample and this one, and Wednesday's divisor again";
  const Json today = Today()["rogue_ap"];
  ASSERT_THAT(today, SizeIs(1));
  EXPECT_EQ(today[0]["first_seen"], "2026-11-18 23:30:00");
  EXPECT_EQ(today[0]["total_time"], 0);
  const Json week = ThisWeek()["rogue_ap"];
  ASSERT_THAT(week, SizeIs(1));
  EXPECT_EQ(week[0]["first_seen"], "2026-11-17 10:00:00");
  EXPECT_EQ(week[0]["last_seen"], "2026-11-18 23:30:00");
  EXPECT_EQ(week[0]["total_time"], 0);
}

TEST_F(ClockBack, ByAnHourAcrossTheEndOfTheWeekGoesOnWithTheWeekBefore) {
  SampleAt(At(2026, 11, 21, 23, 55));
  SampleAt(At(2026, 11, 22, 0, 30));   // a Sunday
  SampleAt(At(2026, 11, 21, 23, 30));  // slot 282
  EXPECT_THAT(Periods("daily"), ElementsAre("2026-11-10", "2026-11-17", "2026-11-18", "2026-11-21"));
  EXPECT_THAT(Periods("weekly"), ElementsAre("2026-11-08/2026-11-14", "2026-11-15/2026-11-21"));
  EXPECT_EQ(ThisWeek()["spectrum_usage"]["5GHz"]["client_count"],
            (Json{{"peak", 9}, {"average", (9 / 288.0 + 18 / 288.0 + 2 / 282.0) / 7}}));
}

TEST_F(ClockBack, ByAWeekDropsTheDaysAndWeeksThatLieInTheFuture) {
  SampleAt(At(2026, 11, 11, 10, 5));
  EXPECT_THAT(Periods("daily"), ElementsAre("2026-11-10", "2026-11-11"));
  EXPECT_THAT(Periods("weekly"), ElementsAre("2026-11-08/2026-11-14"));
  EXPECT_EQ(ThisWeek()["spectrum_usage"]["5GHz"]["client_count"]["peak"], 9) << "of the tenth";
}

TEST_F(ClockBack, BeforeTheFirstSampleDropsNothingBecauseThereIsNothing) {
  vexora_probe::monitor::WirelessNetworkReport fresh;
  clock.Set(At(2026, 11, 18, 8, 0));
  for (int pass = 0; pass < 5; ++pass) fresh.CollectData();
  EXPECT_EQ(Json::parse(fresh.GetAvailableTypePeriod())["daily"], Json::array({"2026-11-18"}));
}

TEST_F(NetworkReportTest, TakesTheMomentInWhichItWasMadeForThatOfTheLastCollection) {
  const time_t made = At(2026, 11, 18, 9, 55);
  for (const time_t later : {-1, 0, 1}) {
    clock.Set(made);
    vexora_probe::monitor::WirelessNetworkReport fresh;
    clock.Set(made + later);
    const test::LogCapture log;
    for (int pass = 0; pass < 5; ++pass) fresh.CollectData();
    const std::vector<std::string> dropped{
        "[WirelessNetworkReport::CleaRedundantSampleData] clear current day and week data"};
    EXPECT_EQ(log.Texts(probe::log::Level::kDebug, "clear current"), later < 0 ? dropped : std::vector<std::string>{})
        << later << " s after it was made";
  }
}

TEST_F(NetworkReportTest, SeesASampleOfTheSameDayInTheFutureAlthoughTheLastCollectionWasEarlier) {
  Office(kAp, 9);
  SampleAt(At(2026, 11, 18, 10, 5));
  Office(kAp, 2).Online(false);
  SampleAt(At(2026, 11, 17, 10, 0));  // the clock was wrong for a pass in which nothing was there
  Office(kAp, 2).Online(true);
  SampleAt(At(2026, 11, 18, 9, 0));
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["client_count"]["peak"], 2);
}

}  // namespace
