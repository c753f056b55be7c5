// What the report makes of the days on which calendars and clocks do something odd, in several time zones.

#include <gmock/gmock.h>

#include "monitor/reports/client/wireless_client_report.h"
#include "tests/monitor/reports/client/client_report_fixture.h"

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClientReportCalendarTest : public ClientReportTest {
 protected:
  /// A pass in which the laptop, the only client, has sent 100 octets more.
  void BusyPassAt(time_t moment) {
    InOffice({Laptop(octets, 0)});
    octets += 100;
    PassAt(moment);
  }

  std::uint64_t octets = 0;
};

/// The midnight before a day.
struct Border {
  const char* name;
  int year, month, day;  ///< Begin at midnight.
  const char* eve;       ///< The day before the day that ends at midnight.
  const char* old_day;   ///< That ends at midnight.
  const char* new_day;   ///< That begins at midnight.
  const char* old_week;  ///< Of `eve` and `old_day`.
  const char* new_week;  ///< Of `new_day`.
};

constexpr Border kBorders[] = {
    {"Midnight", 2026, 11, 19, "2026-11-17", "2026-11-18", "2026-11-19", "2026-11-15/2026-11-21",
     "2026-11-15/2026-11-21"},
    {"SaturdayToSunday", 2026, 11, 22, "2026-11-20", "2026-11-21", "2026-11-22", "2026-11-15/2026-11-21",
     "2026-11-22/2026-11-28"},
    {"YearsEnd", 2027, 1, 1, "2026-12-30", "2026-12-31", "2027-01-01", "2026-12-27/2027-01-02",
     "2026-12-27/2027-01-02"},
    {"YearsEndOnASunday", 2034, 1, 1, "2033-12-30", "2033-12-31", "2034-01-01", "2033-12-25/2033-12-31",
     "2034-01-01/2034-01-07"},
};

class AcrossABorder : public ClientReportCalendarTest,
                      public ::testing::WithParamInterface<std::tuple<const char*, Border>> {
 protected:
  AcrossABorder() {
    zone.Set(std::get<0>(GetParam()));
    midnight = At(border.year, border.month, border.day);
    EXPECT_EQ(Local(midnight), std::string(border.new_day) + " 00:00:00");
    EXPECT_EQ(Local(midnight - 1), std::string(border.old_day) + " 23:59:59");
  }

  std::string Words(const std::string& from, const std::string& to, const std::string& rest) const {
    return "laptop " + from + " - " + to + ", " + rest;
  }
  bool IsInOneWeek() const { return std::string(border.old_week) == border.new_week; }

  const Border border = std::get<1>(GetParam());
  const std::string old_day = border.old_day;
  const std::string new_day = border.new_day;
  time_t midnight = 0;
};

TEST_P(AcrossABorder, AddsTrafficButNoTimeAndOpensNewRows) {
  for (const int second : {-120, -60, 0, 60}) BusyPassAt(midnight + second);
  EXPECT_THAT(Day(old_day), ElementsAre(Words(old_day + " 23:58:00", old_day + " 23:59:00", "60 s, up 100, down 0")));
  EXPECT_THAT(Day(new_day), ElementsAre(Words(new_day + " 00:00:00", new_day + " 00:01:00", "60 s, up 200, down 0")));
  if (IsInOneWeek()) {
    EXPECT_THAT(Week(border.old_week),
                ElementsAre(Words(old_day + " 23:58:00", new_day + " 00:01:00", "120 s, up 300, down 0")));
  } else {
    EXPECT_EQ(Week(border.old_week), Day(old_day));
    EXPECT_EQ(Week(border.new_week), Day(new_day));
  }
}

TEST_P(AcrossABorder, TakesBackWhatTheDayHadCountedWhenTheClockIsSetBackAcross) {
  const std::string eve = border.eve;
  const time_t noon = At(border.year, border.month, border.day - 2, 12);
  for (const time_t moment : {noon, noon + 60, midnight - 120, midnight - 60, midnight, midnight + 60}) {
    BusyPassAt(moment);
  }
  BusyPassAt(midnight - 90);
  EXPECT_THAT(Kept("daily"), ElementsAre(old_day, eve));  // the day that lies in the future again is gone
  EXPECT_THAT(Kept("weekly"), ElementsAre(border.old_week));
  EXPECT_THAT(Day(eve), ElementsAre(Words(eve + " 12:00:00", eve + " 12:01:00", "60 s, up 100, down 0")));
  EXPECT_THAT(Day(old_day), ElementsAre(Words(old_day + " 23:58:30", old_day + " 23:58:30", "0 s, up 100, down 0")));
  // of the week, the day before is left: the client comes again with this pass
  EXPECT_THAT(Week(border.old_week),
              ElementsAre(Words(eve + " 12:00:00", old_day + " 23:58:30", "60 s, up 200, down 0")));
  BusyPassAt(midnight - 30);
  EXPECT_THAT(Day(old_day), ElementsAre(Words(old_day + " 23:58:30", old_day + " 23:59:30", "60 s, up 200, down 0")));
  EXPECT_THAT(Week(border.old_week),
              ElementsAre(Words(eve + " 12:00:00", old_day + " 23:59:30", "120 s, up 300, down 0")));
}

INSTANTIATE_TEST_SUITE_P(Everywhere, AcrossABorder,
                         ::testing::Combine(::testing::Values("Europe/Berlin", "America/New_York", "Asia/Kolkata",
                                                              "Australia/Lord_Howe"),
                                            ::testing::ValuesIn(kBorders)),
                         [](const auto& tested) {
                           std::string zone = std::get<0>(tested.param);
                           zone.replace(zone.find('/'), 1, "_");
                           return zone + "_" + std::get<1>(tested.param).name;
                         });

/// A change of the offset to UTC in the middle of a day.
struct Change {
  const char* zone;
  int year, month, day, hour, minute;  ///< UTC.
  const char* date;                    ///< The local day, a Sunday.
  const char* week;                    ///< The week of that day at the change.
  const char* minute_before;           ///< What the clock reads a minute before the change,
  const char* half_minute_before;      ///< half a minute before it,
  const char* minute_after;            ///< and a minute after it.
};

class OnADayOnWhichTheOffsetChanges : public ClientReportCalendarTest, public ::testing::WithParamInterface<Change> {
 protected:
  OnADayOnWhichTheOffsetChanges() {
    const Change& change = GetParam();
    moment = At(change.year, change.month, change.day, change.hour, change.minute);
    zone.Set(change.zone);
    EXPECT_EQ(Local(moment - 60), Time(change.minute_before));
    EXPECT_EQ(Local(moment + 60), Time(change.minute_after));
  }

  static std::string Time(const char* time) { return std::string(GetParam().date) + " " + time; }

  time_t moment = 0;
};

TEST_P(OnADayOnWhichTheOffsetChanges, CountsTheSecondsThatReallyPass) {
  for (const int second : {-60, 0, 60}) BusyPassAt(moment + second);
  const std::string row =
      "laptop " + Time(GetParam().minute_before) + " - " + Time(GetParam().minute_after) + ", 120 s, up 200, down 0";
  EXPECT_THAT(Day(GetParam().date), ElementsAre(row));
  EXPECT_THAT(Week(GetParam().week), ElementsAre(row));
}

TEST_P(OnADayOnWhichTheOffsetChanges, BeginsTheDayAnewWhenTheClockIsSetBackAcrossTheChange) {
  for (const int second : {-120, -60, 60, 120}) BusyPassAt(moment + second);
  BusyPassAt(moment - 30);
  const std::string row = "laptop " + Time(GetParam().half_minute_before) + " - " +
                          Time(GetParam().half_minute_before) + ", 0 s, up 100, down 0";
  EXPECT_THAT(Day(GetParam().date), ElementsAre(row));
  EXPECT_THAT(Week(GetParam().week), ElementsAre(row));
  EXPECT_THAT(Kept("daily"), ElementsAre(GetParam().date));
}

INSTANTIATE_TEST_SUITE_P(InSpringAndAutumn, OnADayOnWhichTheOffsetChanges,
                         ::testing::Values(Change{"Europe/Berlin", 2027, 3, 28, 1, 0, "2027-03-28",
                                                  "2027-03-28/2027-04-03", "01:59:00", "01:59:30", "03:01:00"},
                                           Change{"Europe/Berlin", 2026, 10, 25, 1, 0, "2026-10-25",
                                                  "2026-10-25/2026-10-31", "02:59:00", "02:59:30", "02:01:00"},
                                           Change{"America/New_York", 2027, 3, 14, 7, 0, "2027-03-14",
                                                  "2027-03-14/2027-03-20", "01:59:00", "01:59:30", "03:01:00"},
                                           Change{"America/New_York", 2026, 11, 1, 6, 0, "2026-11-01",
                                                  "2026-11-01/2026-11-07", "01:59:00", "01:59:30", "01:01:00"},
                                           Change{"Australia/Lord_Howe", 2026, 10, 3, 15, 30, "2026-10-04",
                                                  "2026-10-04/2026-10-10", "01:59:00", "01:59:30", "02:31:00"},
                                           Change{"Australia/Lord_Howe", 2027, 4, 3, 15, 0, "2027-04-04",
                                                  "2027-04-04/2027-04-10", "01:59:00", "01:59:30", "01:31:00"}));

// Week keys are made of days of 86400 seconds, so around a change they may name a day that is one off. What follows
// from that is the same for every such week.

TEST_F(ClientReportCalendarTest, TakesTheFirstHourOfAnAutumnSundayForAWeekThatEndsOnFriday) {
  zone.Set("Europe/Berlin");
  BusyPassAt(At(2026, 10, 25, 0, 59));
  BusyPassAt(At(2026, 10, 25, 1, 0));
  BusyPassAt(At(2026, 10, 25, 1, 1));
  EXPECT_THAT(Kept("weekly"), ElementsAre("2026-10-25/2026-10-31", "2026-10-25/2026-10-30"));
  EXPECT_THAT(Week("2026-10-25/2026-10-30"),
              ElementsAre("laptop 2026-10-25 00:59:00 - 2026-10-25 00:59:00, 0 s, up 0, down 0"));
  EXPECT_THAT(Week("2026-10-25/2026-10-31"),
              ElementsAre("laptop 2026-10-25 01:00:00 - 2026-10-25 01:01:00, 60 s, up 200, down 0"));
  EXPECT_THAT(Day("2026-10-25"),
              ElementsAre("laptop 2026-10-25 00:59:00 - 2026-10-25 01:01:00, 120 s, up 200, down 0"));
}

TEST_F(ClientReportCalendarTest, BeginsTheWeekOfASpringSundayAnewAtOneOClockOfEachOfItsDays) {
  zone.Set("Europe/Berlin");
  BusyPassAt(At(2027, 3, 28, 12));
  EXPECT_THAT(Kept("weekly"), ElementsAre("2027-03-28/2027-04-03"));
  for (const int day : {29, 30}) {
    // so many times 86400 seconds before this hour it was still Saturday: that week begins earlier, so the one that
    // began on Sunday lies in its future and goes
    BusyPassAt(At(2027, 3, day, 0, 30));
    EXPECT_THAT(Kept("weekly"), ElementsAre("2027-03-27/2027-04-03"));
    BusyPassAt(At(2027, 3, day, 1, 30));
    EXPECT_THAT(Kept("weekly"), ElementsAre("2027-03-28/2027-04-03", "2027-03-27/2027-04-03"));
  }
  EXPECT_THAT(Week("2027-03-28/2027-04-03"),
              ElementsAre("laptop 2027-03-30 01:30:00 - 2027-03-30 01:30:00, 0 s, up 100, down 0"));
  EXPECT_THAT(Kept("daily"), ElementsAre("2027-03-30", "2027-03-29", "2027-03-28"));  // the days are untouched
}

/// A Sunday that begins at one o'clock, for the clock is put forward at midnight.
struct Sunday {
  const char* zone;
  int month, day, hour;  ///< Of its first second, in UTC.
  const char* saturday;
  const char* sunday;
  const char* monday;
  const char* old_week;        ///< Of that Saturday.
  const char* new_week;        ///< Of that Sunday.
  const char* week_of_monday;  ///< Of the first hour of Monday, whose start is one day off.
};

class OnASundayWithoutMidnight : public ClientReportCalendarTest, public ::testing::WithParamInterface<Sunday> {
 protected:
  OnASundayWithoutMidnight() {
    first_second = At(2027, GetParam().month, GetParam().day, GetParam().hour);
    zone.Set(GetParam().zone);
    EXPECT_EQ(Local(first_second - 1), saturday + " 23:59:59");
    EXPECT_EQ(Local(first_second), sunday + " 01:00:00");
  }

  const std::string saturday = GetParam().saturday;
  const std::string sunday = GetParam().sunday;
  const std::string old_week = GetParam().old_week;
  const std::string new_week = GetParam().new_week;
  time_t first_second = 0;
};

TEST_P(OnASundayWithoutMidnight, OpensDayAndWeekAtItsFirstSecond) {
  for (const int second : {-120, -60, 0, 60}) BusyPassAt(first_second + second);
  const std::string before = "laptop " + saturday + " 23:58:00 - " + saturday + " 23:59:00, 60 s, up 100, down 0";
  const std::string after = "laptop " + sunday + " 01:00:00 - " + sunday + " 01:01:00, 60 s, up 200, down 0";
  EXPECT_THAT(Day(saturday), ElementsAre(before));
  EXPECT_THAT(Week(old_week), ElementsAre(before));
  EXPECT_THAT(Day(sunday), ElementsAre(after));
  EXPECT_THAT(Week(new_week), ElementsAre(after));
}

TEST_P(OnASundayWithoutMidnight, TakesDayAndWeekForAnHourOldAtItsFirstSecond) {
  BusyPassAt(first_second);
  BusyPassAt(first_second + 36);
  EXPECT_EQ(Report("daily", sunday).clients.at(0).online_time, 0.9);  // 36'000 / 3'636 is 9
  EXPECT_EQ(Report("weekly", new_week).clients.at(0).online_time, 0.9);
}

TEST_P(OnASundayWithoutMidnight, TakesDayAndWeekBackWhenTheClockIsSetBackToSaturday) {
  for (const int second : {-90, -30, 30, 90}) BusyPassAt(first_second + second);
  BusyPassAt(first_second - 60);
  const std::string row = "laptop " + saturday + " 23:59:00 - " + saturday + " 23:59:00, 0 s, up 100, down 0";
  EXPECT_THAT(Kept("daily"), ElementsAre(saturday));
  EXPECT_THAT(Kept("weekly"), ElementsAre(old_week));
  EXPECT_THAT(Day(saturday), ElementsAre(row));
  EXPECT_THAT(Week(old_week), ElementsAre(row));
}

TEST_P(OnASundayWithoutMidnight, TakesTheFirstHourOfMondayForAWeekThatBeganOnSaturday) {
  BusyPassAt(first_second);
  constexpr int kHoursOfThatDay = 23;
  const time_t monday = first_second + kHoursOfThatDay * 3'600;
  ASSERT_EQ(Local(monday), std::string(GetParam().monday) + " 00:00:00");
  BusyPassAt(monday);
  EXPECT_THAT(Kept("weekly"), ElementsAre(GetParam().week_of_monday));
  BusyPassAt(monday + 3'600);
  EXPECT_THAT(Kept("weekly"), ElementsAre(new_week, GetParam().week_of_monday));
  EXPECT_THAT(Kept("daily"), ElementsAre(GetParam().monday, sunday));
}

INSTANTIATE_TEST_SUITE_P(
    InThreeCountries, OnASundayWithoutMidnight,
    ::testing::Values(Sunday{"Asia/Beirut", 3, 27, 22, "2027-03-27", "2027-03-28", "2027-03-29",
                             "2027-03-21/2027-03-27", "2027-03-28/2027-04-03", "2027-03-27/2027-04-03"},
                      Sunday{"America/Havana", 3, 14, 5, "2027-03-13", "2027-03-14", "2027-03-15",
                             "2027-03-07/2027-03-13", "2027-03-14/2027-03-20", "2027-03-13/2027-03-20"},
                      Sunday{"America/Santiago", 9, 5, 4, "2027-09-04", "2027-09-05", "2027-09-06",
                             "2027-08-29/2027-09-04", "2027-09-05/2027-09-11", "2027-09-04/2027-09-11"}),
    [](const auto& tested) {
      std::string zone = tested.param.zone;
      return zone.replace(zone.find('/'), 1, "_");
    });

/// The Sunday on which midnight comes twice: at one o'clock the clock is put back.
class OnASundayWithTwoMidnights : public ClientReportCalendarTest {
 protected:
  OnASundayWithTwoMidnights() {
    zone.Set("America/Havana");
    first_midnight = At(2027, 11, 7, 0, 0, 0, 1);
    second_midnight = At(2027, 11, 7, 0, 0, 0, 0);
    EXPECT_EQ(second_midnight - first_midnight, 3'600);
    EXPECT_EQ(Local(first_midnight - 1), "2027-11-06 23:59:59");
    EXPECT_EQ(Local(second_midnight - 1), "2027-11-07 00:59:59");
    EXPECT_EQ(Local(second_midnight), "2027-11-07 00:00:00");
  }

  time_t first_midnight = 0;
  time_t second_midnight = 0;
};

TEST_F(OnASundayWithTwoMidnights, OpensTheDayOnceAndGoesOnCounting) {
  for (const int second : {-60, 0, 60}) BusyPassAt(first_midnight + second);
  for (const int second : {-60, 0, 60}) BusyPassAt(second_midnight + second);
  EXPECT_THAT(Kept("daily"), ElementsAre("2027-11-07", "2027-11-06"));
  EXPECT_THAT(Day("2027-11-06"), ElementsAre("laptop 2027-11-06 23:59:00 - 2027-11-06 23:59:00, 0 s, up 0, down 0"));
  EXPECT_THAT(Day("2027-11-07"),
              ElementsAre("laptop 2027-11-07 00:00:00 - 2027-11-07 00:01:00, 3660 s, up 500, down 0"));
}

TEST_F(OnASundayWithTwoMidnights, OpensAWeekThatEndsOnFridayAndAtTheSecondMidnightThatOfSaturday) {
  for (const int second : {0, 60}) BusyPassAt(first_midnight + second);
  for (const int second : {0, 60}) BusyPassAt(second_midnight + second);
  EXPECT_THAT(Kept("weekly"), ElementsAre("2027-11-07/2027-11-13", "2027-11-07/2027-11-12"));
  EXPECT_THAT(Week("2027-11-07/2027-11-12"),
              ElementsAre("laptop 2027-11-07 00:00:00 - 2027-11-07 00:01:00, 60 s, up 100, down 0"));
  EXPECT_THAT(Week("2027-11-07/2027-11-13"),
              ElementsAre("laptop 2027-11-07 00:00:00 - 2027-11-07 00:01:00, 60 s, up 200, down 0"));
}

TEST_F(OnASundayWithTwoMidnights, ShowsZeroPercentAtBothOfThemAndMoreThanAllSoonAfterTheSecond) {
  BusyPassAt(first_midnight);
  EXPECT_EQ(Report("daily", "2027-11-07").clients.at(0).online_time, 0.0);
  BusyPassAt(second_midnight);
  EXPECT_EQ(Report("daily", "2027-11-07").clients.at(0).time_online, 3'600);
  EXPECT_EQ(Report("daily", "2027-11-07").clients.at(0).online_time, 0.0);
  BusyPassAt(second_midnight + 60);
  EXPECT_EQ(Report("daily", "2027-11-07").clients.at(0).online_time, 6'100.0);  // 3'660 s of 60
  BusyPassAt(second_midnight + 3'600);
  EXPECT_EQ(Report("daily", "2027-11-07").clients.at(0).online_time, 200.0);
}

TEST_F(OnASundayWithTwoMidnights, BeginsTheDayAnewWhenTheClockIsSetBackFromOneToTheOther) {
  for (const int second : {-60, 0, 60}) BusyPassAt(first_midnight + second);
  for (const int second : {0, 60}) BusyPassAt(second_midnight + second);
  BusyPassAt(first_midnight);
  EXPECT_THAT(Day("2027-11-07"), ElementsAre("laptop 2027-11-07 00:00:00 - 2027-11-07 00:00:00, 0 s, up 100, down 0"));
  EXPECT_THAT(Kept("daily"), ElementsAre("2027-11-07", "2027-11-06"));
  // the week that ends on Saturday lies in the future of the first hour's
  EXPECT_THAT(Kept("weekly"), ElementsAre("2027-11-07/2027-11-12", "2027-10-31/2027-11-06"));
}

// Clocks that are set.

TEST_F(ClientReportCalendarTest, DropsOneDayOfTheFutureWithEachPass) {
  for (int day = 15; day <= 20; ++day) BusyPassAt(At(2026, 11, day, 12));
  BusyPassAt(At(2026, 11, 16, 12));
  EXPECT_THAT(Kept("daily"), ElementsAre("2026-11-20", "2026-11-19", "2026-11-18", "2026-11-16", "2026-11-15"));
  Pass();
  EXPECT_THAT(Kept("daily"), ElementsAre("2026-11-20", "2026-11-19", "2026-11-16", "2026-11-15"));
  Pass();
  Pass();
  EXPECT_THAT(Kept("daily"), ElementsAre("2026-11-16", "2026-11-15"));
  EXPECT_THAT(Week("2026-11-15/2026-11-21"),
              ElementsAre("laptop 2026-11-15 12:00:00 - 2026-11-16 12:03:00, 180 s, up 100, down 0"));
}

TEST_F(ClientReportCalendarTest, DropsOneWeekOfTheFutureWithEachPass) {
  for (const int day : {1, 8, 15, 22}) BusyPassAt(At(2026, 11, day, 12));
  BusyPassAt(At(2026, 11, 3, 12));
  EXPECT_THAT(Kept("weekly"), ElementsAre("2026-11-22/2026-11-28", "2026-11-15/2026-11-21", "2026-11-01/2026-11-07"));
  Pass();
  EXPECT_THAT(Kept("weekly"), ElementsAre("2026-11-22/2026-11-28", "2026-11-01/2026-11-07"));
  Pass();
  EXPECT_THAT(Kept("weekly"), ElementsAre("2026-11-01/2026-11-07"));
}

TEST_F(ClientReportCalendarTest, DropsPeriodsOfTheFutureAlsoInPassesWithNobodyThere) {
  for (const int day : {1, 2, 15, 22}) BusyPassAt(At(2026, 11, day, 12));
  InOffice({});
  PassAt(At(2026, 11, 3, 12));
  EXPECT_THAT(Kept("daily"), ElementsAre("2026-11-22", "2026-11-02", "2026-11-01"));
  EXPECT_THAT(Kept("weekly"), ElementsAre("2026-11-22/2026-11-28", "2026-11-01/2026-11-07"));
  Pass();
  EXPECT_THAT(Kept("daily"), ElementsAre("2026-11-02", "2026-11-01"));
  EXPECT_THAT(Kept("weekly"), ElementsAre("2026-11-01/2026-11-07"));
}

TEST_F(ClientReportCalendarTest, DropsTheOnlyDayAndWeekWhenTheyLieInTheFuture) {
  BusyPassAt(At(2026, 11, 18, 12));
  InOffice({});
  PassAt(At(2026, 11, 4, 12));
  EXPECT_THAT(Kept("daily"), IsEmpty());
  EXPECT_THAT(Kept("weekly"), IsEmpty());
}

TEST_F(ClientReportCalendarTest, RebuildsTheWeekAlsoOnADayThatHadNoRowsYet) {
  BusyPassAt(At(2026, 11, 16, 12));
  BusyPassAt(At(2026, 11, 16, 12, 1));
  BusyPassAt(At(2026, 11, 18, 12));
  BusyPassAt(At(2026, 11, 17, 11));
  EXPECT_THAT(Kept("daily"), ElementsAre("2026-11-17", "2026-11-16"));
  EXPECT_THAT(Week("2026-11-15/2026-11-21"),
              ElementsAre("laptop 2026-11-16 12:00:00 - 2026-11-17 11:00:00, 60 s, up 200, down 0"));
}

TEST_F(ClientReportCalendarTest, TakesAPassWithNobodyThereForTheLastOneToo) {
  BusyPassAt(At(2026, 11, 18, 12));
  InOffice({});
  PassAt(At(2026, 11, 18, 13));
  BusyPassAt(At(2026, 11, 18, 12, 30));
  constexpr const char* kAnew = "laptop 2026-11-18 12:30:00 - 2026-11-18 12:30:00, 0 s, up 0, down 0";
  EXPECT_THAT(Day("2026-11-18"), ElementsAre(kAnew));
  EXPECT_THAT(Week("2026-11-15/2026-11-21"), ElementsAre(kAnew));
}

TEST_F(ClientReportCalendarTest, RebuildsTheWeekFromItsDaysForClientsAndGuests) {
  AccessPoint().PortalUser("b0-00-00-00-00-02", {.username = "ann", .hostname = "ann", .in_bytes = 0, .out_bytes = 0});
  InLobby({Phone()});
  for (int day = 14; day <= 17; ++day) {  // from Saturday, of another week
    BusyPassAt(At(2026, 11, day, 12));
    BusyPassAt(At(2026, 11, day, 12, 1));
  }
  BusyPassAt(At(2026, 11, 17, 11));
  EXPECT_THAT(Week("2026-11-15/2026-11-21"),
              ElementsAre("laptop 2026-11-15 12:00:00 - 2026-11-17 11:00:00, 120 s, up 500, down 0"));
  EXPECT_THAT(GuestWeek("2026-11-15/2026-11-21"),
              ElementsAre("ann 2026-11-15 12:00:00 - 2026-11-17 11:00:00, 120 s, up 0, down 0"));
  EXPECT_THAT(Week("2026-11-08/2026-11-14"),
              ElementsAre("laptop 2026-11-14 12:00:00 - 2026-11-14 12:01:00, 60 s, up 100, down 0"));
}

TEST_F(ClientReportCalendarTest, LosesTodayWhenTheClockIsSetBackByASecond) {
  BusyPassAt(At(2026, 11, 18, 12));
  BusyPassAt(At(2026, 11, 18, 13));
  InOffice({});
  PassAt(At(2026, 11, 18, 12, 59, 59));
  EXPECT_THAT(Kept("daily"), IsEmpty());
  EXPECT_THAT(Kept("weekly"), IsEmpty());
}

TEST_F(ClientReportCalendarTest, BeginsARowOfTheFutureAnewWhenItsDayComesAgain) {
  for (int day = 16; day <= 18; ++day) {
    BusyPassAt(At(2026, 11, day, 12));
    BusyPassAt(At(2026, 11, day, 13));
  }
  BusyPassAt(At(2026, 11, 16, 12));  // the 17th goes, the 18th is left for the next pass
  BusyPassAt(At(2026, 11, 18, 11));
  EXPECT_THAT(Day("2026-11-18"), ElementsAre("laptop 2026-11-18 11:00:00 - 2026-11-18 11:00:00, 0 s, up 300, down 0"));
}

TEST_F(ClientReportCalendarTest, CountsTheHoursThatTheClockIsSetForwardWithinADay) {
  BusyPassAt(At(2026, 11, 18, 12));
  BusyPassAt(At(2026, 11, 18, 15));
  EXPECT_THAT(Day("2026-11-18"),
              ElementsAre("laptop 2026-11-18 12:00:00 - 2026-11-18 15:00:00, 10800 s, up 100, down 0"));
}

TEST_F(ClientReportCalendarTest, StandsClocksThatAreFarOff) {
  for (const time_t moment :
       {At(1970, 1, 1), At(1999, 12, 31, 23, 59, 59), At(2038, 1, 19, 3, 14, 7), At(1970, 1, 2)}) {
    BusyPassAt(moment);
  }
  EXPECT_THAT(Kept("daily"), ElementsAre("2038-01-19", "1970-01-02", "1970-01-01"));
  Pass();
  EXPECT_THAT(Kept("daily"), ElementsAre("1970-01-02", "1970-01-01"));
}

}  // namespace
}  // namespace test
