#include "monitor/reports/network/network_running.h"
#include "monitor/reports/network/network_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/reports/network/network_stage.h"
#include "tests/monitor/reports/network/network_samples.h"

namespace vexora_probe::monitor {
namespace {

using ::testing::ElementsAre;
using ::testing::Key;

/// Octets that give a megabit a second over ten seconds.
constexpr std::uint64_t kTenMegabits = 1'310'720;

/// What devices tell, minute by minute, and the days and weeks of access points and bands.
class NetworkRunning : public ::testing::Test {
 protected:
  NetworkRunning() { store.DropSamples(time.day); }

  /// A device tells of one network: its clients, and its counters at a time.
  void Stage(const std::string& mac, std::uint32_t clients, std::uint64_t octets, time_t polled_at) {
    NetworkReading reading = NetworkOf("Office", clients);
    reading.counters = {.in = octets, .out = 0, .polled_at = polled_at};
    StageSamples(mac, {reading}, minute, store);
  }

  void Fold() {
    FoldStagedSamples(minute, store);
    FoldSums(time, store.access_points, access_points);
    FoldSums(time, store.spectrums, spectrums);
    minute += 5;
  }

  const AccessPoints& Day(const std::string& mac) {
    return access_points.at("daily").at("2026-11-18").at(mac).measured;
  }
  const AccessPoints& Week(const std::string& mac) {
    return access_points.at("weekly").at("2026-11-15/2026-11-21").at(mac).measured;
  }

  ReportTime time = Wednesday();
  std::int64_t minute = 100;
  SampleStore store;
  Report access_points;
  Report spectrums;
};

TEST_F(NetworkRunning, AddsClientsAndSpeedsOfADay) {
  Stage("ap", 6, 0, 1'000);
  Fold();
  Stage("ap", 18, kTenMegabits, 1'010);
  Fold();
  const AccessPoints& day = Day("ap");
  EXPECT_EQ(day.client.item, (ClientCount{.peak = 18, .total = 24, .average = 24 / 120.0}));
  EXPECT_EQ(day.traffic.peak, 1);
  EXPECT_EQ(day.traffic.average, 1 / 120.0);
}

TEST_F(NetworkRunning, SumsAllDevicesOfABandInAMinute) {
  Stage("ap1", 6, 0, 1'000);
  Stage("ap2", 5, 0, 1'000);
  Fold();
  Stage("ap1", 1, kTenMegabits, 1'010);
  Stage("ap2", 1, 2 * kTenMegabits, 1'010);
  Fold();
  const AccessPoints& band = spectrums.at("daily").at("2026-11-18").at("5GHz").measured;
  EXPECT_EQ(band.client.item, (ClientCount{.peak = 11, .total = 13, .average = 13 / 120.0}));
  EXPECT_EQ(band.traffic.peak, 3) << "the sum of both, in their second minute";
}

TEST_F(NetworkRunning, CountsADeviceThatIsGoneAsIdleButAddsItsSpeedToItsOwnDayAgain) {
  Stage("ap", 6, 0, 1'000);
  Fold();
  Stage("ap", 6, kTenMegabits, 1'010);
  Fold();
  time.slots = 240;
  Fold();
  EXPECT_EQ(Day("ap").client.item, (ClientCount{.peak = 6, .total = 12, .average = 12 / 240.0}));
  EXPECT_EQ(Day("ap").traffic.average, 1 / 240.0);
  EXPECT_EQ(store.devices.at("ap").days.at(0).networks.at(0).speed_total, 2);
}

TEST_F(NetworkRunning, HasNoSpeedWithoutANewReading) {
  Stage("ap", 0, 0, 1'000);
  Fold();
  Stage("ap", 0, kTenMegabits, 1'000);
  Fold();
  EXPECT_EQ(Day("ap").traffic.peak, 0);
  Stage("ap", 0, 2 * kTenMegabits, 1'010);
  Fold();
  EXPECT_EQ(Day("ap").traffic.peak, 1);
}

TEST_F(NetworkRunning, DividesByTheSamplesWhenThereAreMoreOfThemThanSlots) {
  time.slots = 1;
  for (int sample = 0; sample < 3; ++sample) {
    Stage("ap", 6, 0, 1'000);
    Fold();
  }
  EXPECT_EQ(Day("ap").client.item.average, 6);
}

TEST_F(NetworkRunning, MakesTheWeekOfItsDaysAndFinishesThem) {
  access_points["daily"] = {{"2026-11-14", {{"before", ClientDay(288, 1)}}},
                            {"2026-11-16", {{"ap", ClientDay(288 * 3, 9)}, {"gone", ClientDay(288 * 2, 7)}}}};
  Stage("ap", 120, 0, 1'000);
  Fold();
  EXPECT_EQ(access_points["daily"]["2026-11-14"]["before"].measured.client.item.average, 1) << "finished, too";
  EXPECT_THAT(access_points["weekly"]["2026-11-15/2026-11-21"], ElementsAre(Key("ap"), Key("gone")));
  EXPECT_EQ(Week("ap").client.item, (ClientCount{.peak = 120, .total = 0, .average = (3 + 1) / 4.0}));
  EXPECT_EQ(Week("gone").client.item, (ClientCount{.peak = 7, .total = 0, .average = 2 / 4.0}));
  Stage("ap", 240, 0, 1'000);
  Fold();
  EXPECT_EQ(Week("ap").client.item, (ClientCount{.peak = 240, .total = 0, .average = (3 + 3) / 4.0}));
}

TEST_F(NetworkRunning, LeavesTheClientsOfAWeekAtZeroWhileNothingHasASample) {
  Networks yesterday = ClientDay(288, 5);
  yesterday.measured.traffic.peak = 7;
  yesterday.measured.traffic.average = 2;
  access_points["daily"]["2026-11-17"]["ap"] = yesterday;
  EXPECT_TRUE(FoldSums(time, store.access_points, access_points));
  EXPECT_EQ(Week("ap").client, Clients{});
  EXPECT_EQ(Week("ap").traffic.peak, 7);
  EXPECT_EQ(Week("ap").traffic.average, 2 / 4.0);
  EXPECT_EQ(access_points["daily"]["2026-11-17"]["ap"].measured.client.item.average, 0) << "not finished yet";
}

TEST_F(NetworkRunning, AddsAnAccessPointThatComesLater) {
  Stage("ap1", 1, 0, 1'000);
  Fold();
  access_points["daily"]["2026-11-16"]["ap2"] = ClientDay(288, 3);
  Stage("ap1", 1, 0, 1'000);
  Stage("ap2", 120, 0, 1'000);
  Fold();
  EXPECT_EQ(Week("ap2").client.item, (ClientCount{.peak = 120, .total = 0, .average = (1 + 1) / 4.0}));
  EXPECT_EQ(Week("ap1").client.item.average, 2 / 120.0 / 4);
}

TEST_F(NetworkRunning, CountsAMinuteThatCouldNotBeWrittenWithTheNext) {
  Stage("ap", 6, 0, 1'000);
  FoldStagedSamples(minute, store);  // and no memory for the rest
  minute += 5;
  Stage("ap", 18, 0, 1'000);
  Fold();
  EXPECT_EQ(Day("ap").client.item, (ClientCount{.peak = 18, .total = 24, .average = 24 / 120.0}));
}

TEST_F(NetworkRunning, DropsWhatAnUnfinishedPassHasStaged) {
  Stage("ap", 6, 0, 1'000);
  minute += 5;
  Stage("other", 1, 0, 1'000);
  Fold();
  EXPECT_EQ(Day("ap").client.item.total, 0U);
  EXPECT_EQ(store.devices.at("ap").today.at(0).samples.size(), 0U);
}

TEST_F(NetworkRunning, DropsItAlsoWhenTheNextPassHasNothingOfItsOwn) {
  Stage("ap", 6, 0, 1'000);
  minute += 5;
  Fold();
  EXPECT_EQ(Day("ap").client.item.total, 0U);
  EXPECT_EQ(store.devices.at("ap").today.at(0).samples.size(), 0U);
}

TEST_F(NetworkRunning, DropsTheOldestOfEightDays) {
  access_points["daily"] = EightDays(ClientDay(288, 1));
  access_points["daily"].erase("2026-11-18");
  DeviceRecord& device = store.devices["ap"];
  for (const auto& [day, records] : access_points["daily"]) device.days.push_back({.day = day, .networks = {}});
  Stage("ap", 1, 0, 1'000);
  Fold();
  EXPECT_EQ(access_points["daily"].size(), 7U);
  EXPECT_EQ(access_points["daily"].begin()->first, "2026-11-12");
  EXPECT_EQ(device.days.size(), 7U);
  EXPECT_EQ(device.days.front().day, "2026-11-12");
}

}  // namespace
}  // namespace vexora_probe::monitor
