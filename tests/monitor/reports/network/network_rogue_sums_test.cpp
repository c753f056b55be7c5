#include "monitor/reports/network/network_rogue_sums.h"
#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_store.h"
#include "platform/device_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>

#include "monitor/engine/report_limits.h"
#include "tests/monitor/reports/network/network_samples.h"

namespace vexora_probe::monitor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;

constexpr long kFirst = 1'795'219'200;
constexpr const char* kKey = "rogue//6/2.4GHz";

class NetworkRogueSums : public ::testing::Test {
 protected:
  NetworkRogueSums() { store.DropSamples(time.day); }

  /// A scan by a device with one access point, at the present.
  void Scan(const std::string& hearer, int signal, bool is_trusted = false, const std::string& mac = "rogue") {
    Hearing hearing{.mac = hearer, .hostname = "name of " + hearer, .time = static_cast<time_t>(now), .heard = {}};
    hearing.heard.push_back({.mac = mac,
                             .ssid = "",
                             .trusted = is_trusted ? 1 : 0,
                             .band = models::controller::WIFIBandType::k2_4GHz,
                             .channel = 6,
                             .signal = signal});
    FoldScan(hearing, now, time, kSilent, store, daily, week);
  }

  void NextPass() {
    now += 300;
    week.is_scanned = false;
    week.gone.clear();
  }

  RogueAPs& Today() { return daily.at("2026-11-18").at(kKey); }
  RogueRecords ThisWeek() const { return RogueWeekRecords(daily, week, kSilent); }

  ReportTime time = Wednesday();
  long now = kFirst;
  SampleStore store;
  RogueBuckets daily;
  RogueWeek week;
};

TEST_F(NetworkRogueSums, LeaveNewOnesOutOfADayThatIsFull) {
  const auto numbered = [](std::size_t number) { return "rogue-" + std::to_string(number); };
  for (std::size_t number = 1; number <= monitoring::kMaxRogueKeysADay; ++number) {
    Scan("ap", -40, false, numbered(number));
  }
  EXPECT_EQ(daily.at("2026-11-18").size(), monitoring::kMaxRogueKeysADay);
  EXPECT_EQ(store.left_out_rogues, 0U);

  Scan("ap", -40, false, "one too many");
  EXPECT_EQ(daily.at("2026-11-18").size(), monitoring::kMaxRogueKeysADay);
  EXPECT_FALSE(daily.at("2026-11-18").contains("one too many//6/2.4GHz"));
  EXPECT_EQ(store.rogues.size(), monitoring::kMaxRogueKeysADay);
  EXPECT_EQ(store.left_out_rogues, 1U);

  NextPass();
  Scan("ap", -80, false, numbered(7));
  EXPECT_EQ(daily.at("2026-11-18").at("rogue-7//6/2.4GHz").last_seen, static_cast<time_t>(now)) << "of the full day";
  EXPECT_EQ(store.left_out_rogues, 1U);
}

TEST_F(NetworkRogueSums, KeepADayFullWhoseSamplesAreGone) {
  for (std::size_t number = 1; number <= monitoring::kMaxRogueKeysADay; ++number) {
    Scan("ap", -40, false, std::to_string(number));
  }
  store.DropSamples(time.day);  // as when the clock is set back
  Scan("ap", -40, false, "one too many");
  Scan("ap", -40, false, "7");
  EXPECT_EQ(store.left_out_rogues, 1U);
  EXPECT_EQ(store.rogues.size(), 1U);
  EXPECT_EQ(daily.at("2026-11-18").size(), monitoring::kMaxRogueKeysADay);
}

TEST_F(NetworkRogueSums, TakeTheMeanOfTheSamplesOverTheirPower) {
  Scan("ap", -40);
  EXPECT_DOUBLE_EQ(Today().average_strength, -40);
  NextPass();
  Scan("ap", -80);
  EXPECT_DOUBLE_EQ(Today().average_strength, 10 * std::log10((1e-4 + 1e-8) / 2));
  EXPECT_EQ(Today().signal_strength, -40) << "that of the first";
  EXPECT_EQ(Today().total_time, 300);
  EXPECT_EQ(Today().first_seen, kFirst);
  EXPECT_EQ(Today().last_seen, kFirst + 300);
}

TEST_F(NetworkRogueSums, TakeTheLastOfThoseThatHearItInAPass) {
  Scan("ap1", -40);
  NextPass();
  Scan("ap1", -50);
  Scan("ap2", -80);
  EXPECT_DOUBLE_EQ(Today().average_strength, 10 * std::log10((1e-4 + 1e-8) / 2));
  EXPECT_THAT(Today().seen_by, ElementsAre(Pair("ap1", "name of ap1"), Pair("ap2", "name of ap2")));
}

TEST_F(NetworkRogueSums, GoOnWithTheSamplesOfARecordThatWasRemovedAndCameBack) {
  Scan("ap", -40);
  NextPass();
  Scan("ap", -40, true);
  EXPECT_THAT(daily.at("2026-11-18"), IsEmpty());
  NextPass();
  Scan("ap", -80);
  EXPECT_DOUBLE_EQ(Today().average_strength, 10 * std::log10((1e-4 + 1e-8) / 2));
  EXPECT_EQ(Today().total_time, 0);
  EXPECT_EQ(Today().first_seen, kFirst + 600);
}

TEST_F(NetworkRogueSums, OfAWeekAreLikeTheirFirstDayAndSummedUpOverTheDays) {
  RogueAPs monday;
  monday.mac = "rogue";
  monday.average_strength = -40;
  monday.total_time = 60;
  monday.first_seen = 1;
  monday.seen_by = {{"old", "hearer"}};
  daily["2026-11-16"][kKey] = monday;
  daily["2026-11-14"]["before//6/2.4GHz"] = monday;
  Scan("ap", -80);
  NextPass();
  Scan("ap", -80);
  const RogueRecords records = ThisWeek();
  EXPECT_THAT(records, ElementsAre(Key(kKey)));
  const RogueAPs& record = records.at(kKey);
  EXPECT_EQ(record.first_seen, 1);
  EXPECT_EQ(record.last_seen, kFirst + 300);
  EXPECT_EQ(record.total_time, 360);
  EXPECT_EQ(record.seen_by, monday.seen_by);
  EXPECT_DOUBLE_EQ(record.average_strength, 10 * std::log10((1e-4 + 1e-8) / 2));
}

TEST_F(NetworkRogueSums, StayInTheWeekForThePassInWhichTheyLeaveTheirLastDay) {
  Scan("ap1", -40);
  NextPass();
  Scan("ap2", -50, false, "another");
  Scan("ap1", -40, true);
  EXPECT_THAT(ThisWeek(), ElementsAre(Key("another//6/2.4GHz"), Key(kKey)));
  EXPECT_EQ(ThisWeek().at(kKey).last_seen, kFirst) << "as it was before";
  NextPass();
  Scan("ap2", -50, false, "another");
  EXPECT_THAT(ThisWeek(), ElementsAre(Key("another//6/2.4GHz")));
}

TEST_F(NetworkRogueSums, LeaveTheWeekAtOnceInTheFirstScanOfAPass) {
  Scan("ap1", -40);
  NextPass();
  Scan("ap1", -40, true);
  EXPECT_THAT(ThisWeek(), IsEmpty());
}

TEST_F(NetworkRogueSums, ThatComeBackInThePassAreShownWithTheirNewHearers) {
  Scan("ap1", -40);
  NextPass();
  Scan("ap0", -50, false, "another");
  Scan("ap1", -40, true);
  Scan("ap2", -40);
  EXPECT_THAT(ThisWeek().at(kKey).seen_by, ElementsAre(Pair("ap2", "name of ap2")));
  Scan("ap3", -40);
  EXPECT_THAT(ThisWeek().at(kKey).seen_by, ElementsAre(Pair("ap2", "name of ap2"), Pair("ap3", "name of ap3")));
}

}  // namespace
}  // namespace vexora_probe::monitor
