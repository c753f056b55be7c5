#include "monitor/traffic/traffic_monitor.h"
#include "platform/device_records.h"

#include <gmock/gmock.h>

#include <memory>

#include "tests/monitor/traffic/traffic_fixture.h"

namespace {

using probe::log::Level;
using test::kOther;
using test::kStart;
using test::kSwitch;
using test::LogLine;
using test::Sample;
using test::TrafficMonitorTest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Band = vexora_probe::models::controller::WIFIBandType;
using Newest = std::map<std::string, unsigned long long>;

TEST_F(TrafficMonitorTest, IsCalledTrafficMonitor) {
  EXPECT_EQ(monitor.GetMonitorName(), "TrafficMonitor");
}

TEST_F(TrafficMonitorTest, AveragesFiveMinutesAndThenAgainFiveMinutesLater) {
  PassAt(0);  // first sight
  for (const std::uint64_t speed : {10U, 20U, 30U, 40U}) PassAt(speed);
  EXPECT_THAT(Samples("5m", kSwitch, "ge1"), ElementsAre(Sample{5, 20, 20}));  // (0 + 10 + 20 + 30 + 40) / 5
  for (const std::uint64_t speed : {10U, 20U, 30U, 40U}) PassAt(speed);
  EXPECT_THAT(Samples("5m", kSwitch, "ge1"), SizeIs(1));
  PassAt(50);
  EXPECT_THAT(Samples("5m", kSwitch, "ge1"), ElementsAre(Sample{5, 20, 20}, Sample{10, 30, 30}));
}

TEST_F(TrafficMonitorTest, FillsEachViewWhenTheOneBeforeHasEnoughSamples) {
  PassAt(0);
  const auto minutes_until = [&](const char* view) {
    int minutes = 0;
    for (; Samples(view, kSwitch, "ge1").empty(); ++minutes) PassAt(60);
    return minutes;
  };
  EXPECT_EQ(minutes_until("5m"), 4);       // with the pass of the first sight the fifth
  EXPECT_EQ(minutes_until("10m"), 5);      // two samples of "5m": the tenth pass
  EXPECT_EQ(minutes_until("1h"), 50);      // six of "10m": the 60th
  EXPECT_EQ(minutes_until("2h"), 60);      // two of "1h": the 120th
  EXPECT_EQ(minutes_until("1day"), 1320);  // twelve of "2h": the 1440th
  EXPECT_THAT(Samples("2h", kSwitch, "ge1"), SizeIs(12));
  EXPECT_THAT(Samples("1day", kSwitch, "ge1"), SizeIs(1));
}

TEST_F(TrafficMonitorTest, MakesTheSecondSampleOfEachViewAViewsLengthAfterTheFirst) {
  PassAt(0);
  for (int minute = 1; minute < 2 * 1440; ++minute) PassAt(60);
  const auto minutes_of = [&](const char* view) {
    std::vector<std::int64_t> minutes;
    for (const Sample& sample : Samples(view, kSwitch, "ge1")) minutes.push_back(sample.minute);
    return minutes;
  };
  EXPECT_THAT(minutes_of("1day"), ElementsAre(1440, 2880));
  EXPECT_THAT(minutes_of("2h"), SizeIs(24));
  EXPECT_EQ(minutes_of("2h")[1] - minutes_of("2h")[0], 120);
  const auto hours = minutes_of("1h");
  ASSERT_THAT(hours, SizeIs(31));
  EXPECT_EQ(hours.back() - hours.front(), 30 * 60);
  EXPECT_EQ(minutes_of("10m").back() - minutes_of("10m").front(), 30 * 10);
}

TEST_F(TrafficMonitorTest, KeepsOneSampleMoreInTheLongerViews) {
  for (int pass = 0; pass < 5 * 33; ++pass) PassAt(60);
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), SizeIs(30));
  EXPECT_THAT(Samples("5m", kSwitch, "ge1"), SizeIs(31));
}

TEST_F(TrafficMonitorTest, RemovesSamplesFromTheFutureFromTheLongerViewsToo) {
  for (int pass = 0; pass < 10; ++pass) PassAt(60);
  ASSERT_THAT(Samples("5m", kSwitch, "ge1"), SizeIs(2));
  clock.Set(kStart - 3'600);
  Pass();
  EXPECT_THAT(Samples("5m", kSwitch, "ge1"), IsEmpty());
  EXPECT_THAT(Samples("10m", kSwitch, "ge1"), IsEmpty());
}

TEST_F(TrafficMonitorTest, RemovesSamplesFromTheFutureFromTheDailyViewToo) {
  PassAt(0);
  for (int minute = 1; minute < 1440; ++minute) PassAt(60);
  ASSERT_THAT(Samples("1day", kSwitch, "ge1"), SizeIs(1));
  clock.Set(kStart);
  Pass();
  EXPECT_THAT(Samples("1day", kSwitch, "ge1"), IsEmpty());
}

TEST_F(TrafficMonitorTest, ForgetsADeviceInEveryViewAndItsCountersToo) {
  for (int pass = 0; pass < 5; ++pass) PassAt(60);
  ASSERT_THAT(Samples("5m", kSwitch, "ge1"), SizeIs(1));
  test::LogCapture log;
  monitor.Cleanup(kSwitch);
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kDebug, 2, "[TrafficMonitor::Cleanup] mac : AA:AA:AA:AA:AA:01"}));
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), IsEmpty());
  EXPECT_THAT(Samples("5m", kSwitch, "ge1"), IsEmpty());
  log.Forget();
  PassAt(60);
  EXPECT_THAT(log.Texts(Level::kDebug, "Padzero"),
              ElementsAre("[CalculateTrafficSpeed] Padzero for mac: AA:AA:AA:AA:AA:01, interface: ge1. Can't find the "
                          "interface in last element"))
      << "seen for the first time again";
}

TEST_F(TrafficMonitorTest, TellsTheNewestSpeedOfARenamedInterfaceUnderItsNewName) {
  for (int pass = 0; pass < 3; ++pass) PassAt(60);
  ASSERT_THAT(Newest(kSwitch, "ge1"), ::testing::SizeIs(2));
  const auto newest = Newest(kSwitch, "ge1");
  monitor.ReplaceInterfaceTraffic(kSwitch, "ge1", "uplink");
  EXPECT_THAT(Newest(kSwitch, "ge1"), IsEmpty());
  EXPECT_EQ(Newest(kSwitch, "uplink"), newest);
}

TEST_F(TrafficMonitorTest, ForgetsTheInterfaceIndexesOfADevice) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).Port("ge2", {0, 0}).SampledAt(kStart);
  Pass();
  monitor.Cleanup(kSwitch);
  network.Switch(kSwitch).WithoutPort("ge1");
  Pass();  // the device is back, without ge1
  monitor.ReplaceInterfaceTraffic(kSwitch, "ge2", "ge1");
  network.Switch(kSwitch).Port("ge2", {600, 600}).SampledAt(kStart + 60);
  Pass();
  Pass();
  monitor.ReplaceInterfaceTraffic(kSwitch, "ge2", "ge1");
  EXPECT_THAT(Message("1m"), ::testing::HasSubstr(R"("ge1": { "ifIndex": 0,)"));
}

TEST_F(TrafficMonitorTest, ForgetsNoOtherDevice) {
  PassAt(60, kSwitch);
  PassAt(60, kOther);
  PassAt(60, kOther);
  monitor.Cleanup(kSwitch);
  EXPECT_THAT(Speeds("1m", kOther, "ge1"), ElementsAre(0, 60));
}

TEST_F(TrafficMonitorTest, ChangesNothingAndLogsAnErrorForACleanupWithoutAMac) {
  for (int pass = 0; pass < 3; ++pass) PassAt(60);
  const std::string before = Message("1m");
  const test::LogCapture log;
  monitor.Cleanup("");
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kError, 2, "[TrafficMonitor::Cleanup] mac is empty"}));
  EXPECT_EQ(Message("1m"), before);
}

TEST_F(TrafficMonitorTest, LogsItsOwnEnd) {
  auto other = std::make_unique<TrafficMonitor>();
  const test::LogCapture log;
  other.reset();
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kDebug, 2, "[TrafficMonitor::~TrafficMonitor] Start"},
                                       LogLine{Level::kDebug, 2, "[TrafficMonitor::~TrafficMonitor] End"}));
}

TEST_F(TrafficMonitorTest, GivesAnInterfaceSeenForTheFirstTimeOneZeroSampleAndThenRealSpeeds) {
  network.Switch(kSwitch).Port("ge1", {1'000'000, 500}).SampledAt(kStart);
  Pass();
  EXPECT_EQ(Newest(kSwitch, "ge1"), (::Newest{{"input", 0}, {"output", 0}}));
  network.Switch(kSwitch).Port("ge1", {1'006'000, 1'100}).SampledAt(kStart + 60);
  Pass();
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), ElementsAre(Sample{1, 0, 0}, Sample{2, 100, 10}));
}

TEST_F(TrafficMonitorTest, MeasuresByTheDeviceClockAndNotByThePass) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(500);
  Pass();
  network.Switch(kSwitch).Port("ge1", {6'000, 600}).SampledAt(530);  // half a minute of the device's own
  Pass();
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), ElementsAre(Sample{1, 0, 0}, Sample{2, 200, 20}));
}

TEST_F(TrafficMonitorTest, CountsFromZeroAfterACounterReset) {
  network.Switch(kSwitch).Port("ge1", {5'000'000, 5'000'000}).SampledAt(kStart);
  Pass();
  const test::LogCapture log;
  network.Switch(kSwitch).Port("ge1", {1'000, 5'000'600}).SampledAt(kStart + 60);
  Pass();
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), ElementsAre(Sample{1, 0, 0}, Sample{2, 16, 10}));
  EXPECT_THAT(log.Texts(Level::kInfo),
              ElementsAre("[CalculateTrafficSpeed] The current input traffic less than last input traffic.Maybe the "
                          "device's traffic was cleared."));
}

TEST_F(TrafficMonitorTest, TellsWhichCounterWasReset) {
  network.Switch(kSwitch).Port("ge1", {5'000'000, 5'000'000}).SampledAt(kStart);
  Pass();
  const test::LogCapture log;
  network.Switch(kSwitch).Port("ge1", {5'000'600, 1'000}).SampledAt(kStart + 60);
  Pass();
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), ElementsAre(Sample{1, 0, 0}, Sample{2, 10, 16}));
  EXPECT_THAT(log.Texts(Level::kInfo),
              ElementsAre("[CalculateTrafficSpeed] The current output traffic less than last output traffic.Maybe the "
                          "device's traffic was cleared."));
}

TEST_F(TrafficMonitorTest, RepeatsTheNewestSpeedWhenTheDeviceKeptItsSampleTime) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  Pass();
  network.Switch(kSwitch).Port("ge1", {6'000, 600}).SampledAt(kStart + 60);
  Pass();
  Pass();  // the device has not refreshed its counters
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), ElementsAre(Sample{1, 0, 0}, Sample{2, 100, 10}, Sample{3, 100, 10}));
}

TEST_F(TrafficMonitorTest, RepeatsTheSpeedsOfADeviceThatWentOfflineUntilItIsCleanedUp) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  Pass();
  network.Switch(kSwitch).Port("ge1", {6'000, 600}).SampledAt(kStart + 60);
  Pass();
  network.Switch(kSwitch).Online(false);
  Pass();
  Pass();
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), ElementsAre(0, 100, 100, 100));
  monitor.Cleanup(kSwitch);
  Pass();
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), IsEmpty());
  EXPECT_THAT(Newest(kSwitch, "ge1"), IsEmpty());
}

TEST_F(TrafficMonitorTest, RepeatsTheSpeedsOfADeviceThatLostItsDriver) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  Pass();
  network.Switch(kSwitch).Port("ge1", {6'000, 600}).SampledAt(kStart + 60);
  Pass();
  network.Switch(kSwitch).Driven(false);
  Pass();
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), ElementsAre(0, 100, 100));
}

TEST_F(TrafficMonitorTest, GivesSpeedZeroWhenTheDeviceClockWentBack) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  Pass();
  network.Switch(kSwitch).Port("ge1", {6'000, 600}).SampledAt(kStart + 60);
  Pass();
  network.Switch(kSwitch).Port("ge1", {12'000, 1'200}).SampledAt(kStart + 30);
  Pass();
  network.Switch(kSwitch).Port("ge1", {18'000, 1'800}).SampledAt(kStart + 90);
  Pass();
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), ElementsAre(0, 100, 0, 100));
}

TEST_F(TrafficMonitorTest, MeasuresAnInterfaceWhoseCountersAreAndStayZero) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  Pass();
  network.Switch(kSwitch).SampledAt(kStart + 60);
  Pass();
  network.Switch(kSwitch).Port("ge1", {6'000, 0}).SampledAt(kStart + 120);
  Pass();
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), ElementsAre(0, 0, 100));
}

TEST_F(TrafficMonitorTest, PadsAnInterfaceThatVanishedFromADeviceThatStillAnswers) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).Port("ge2", {0, 0}).SampledAt(kStart);
  Pass();
  network.Switch(kSwitch).Port("ge1", {6'000, 0}).Port("ge2", {60, 0}).SampledAt(kStart + 60);
  Pass();
  network.Switch(kSwitch).WithoutPort("ge1").SampledAt(kStart + 120);
  const test::LogCapture log;
  Pass();
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), ElementsAre(Sample{1, 0, 0}, Sample{2, 100, 0}, Sample{3, 0, 0}));
  EXPECT_THAT(
      log.Texts(Level::kDebug, "Padzero"),
      ElementsAre("[TrafficMonitor::CalculateTrafficSpeed] Padzero for mac: AA:AA:AA:AA:AA:01, interface: ge1"));
}

TEST_F(TrafficMonitorTest, TakesAnInterfaceThatCameBackAsSeenForTheFirstTime) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).Port("ge2", {0, 0}).SampledAt(kStart);
  Pass();
  network.Switch(kSwitch).Port("ge1", {6'000, 0}).SampledAt(kStart + 60);
  Pass();
  network.Switch(kSwitch).WithoutPort("ge1").SampledAt(kStart + 120);
  Pass();
  network.Switch(kSwitch).Port("ge1", {60'000, 0}).SampledAt(kStart + 180);
  const test::LogCapture log;
  Pass();
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), ElementsAre(0, 100, 0, 0));
  EXPECT_THAT(log.Texts(Level::kDebug, "Padzero"),
              ElementsAre("[CalculateTrafficSpeed] Padzero for mac: AA:AA:AA:AA:AA:01, interface: ge1. Can't find the "
                          "interface in last element"));
}

TEST_F(TrafficMonitorTest, KeepsThirtyMinutes) {
  for (std::uint64_t minute = 0; minute < 29; ++minute) PassAt(10);
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), SizeIs(29));
  PassAt(10);
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), SizeIs(30));
  PassAt(10);
  const auto samples = Samples("1m", kSwitch, "ge1");
  ASSERT_THAT(samples, SizeIs(30));
  EXPECT_EQ(samples.front(), (Sample{2, 10, 10}));
  EXPECT_EQ(samples.back(), (Sample{31, 10, 10}));
}

TEST_F(TrafficMonitorTest, RemovesSamplesFromTheFutureWhenTheClockWasSetBack) {
  for (int minute = 0; minute < 3; ++minute) PassAt(10);
  clock.Set(kStart - 3'600);
  const test::LogCapture log;
  network.Switch(kSwitch).Port("ge1", {6'000, 6'000}).SampledAt(kStart + 240);
  Pass();
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), ElementsAre(Sample{-59, 70, 70}));  // (6000 - 1800) / 60
  EXPECT_THAT(log.Texts(Level::kDebug, "junk"),
              ElementsAre("[TrafficMonitor::RemoveBadTimeSample] Remove junk sample",
                          "[TrafficMonitor::RemoveBadTimeSample] Remove junk sample",
                          "[TrafficMonitor::RemoveBadTimeSample] Remove junk sample"));
}

TEST_F(TrafficMonitorTest, WaitsForTheFirstChangeWhileAnEmptiedHistorysCountersDoNotMove) {
  for (int minute = 0; minute < 3; ++minute) PassAt(10);
  clock.Set(kStart - 3'600);  // empties the history; the counters stand still from here
  network.Switch(kSwitch).SampledAt(kStart + 240);
  const test::LogCapture log;
  Pass();
  EXPECT_THAT(Newest(kSwitch, "ge1"), IsEmpty());
  EXPECT_THAT(log.Texts(Level::kDebug, "Wait"), ElementsAre("[CalculateTrafficSpeed] Wait for the first data change"));
  network.Switch(kSwitch).Port("ge1", {1'860, 1'800}).SampledAt(kStart + 300);
  Pass();
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), ElementsAre(Sample{-58, 1, 0}));
}

TEST_F(TrafficMonitorTest, DoesNotHoldBackAnEmptiedHistoryWhoseCountersAreAndStayZero) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  Pass();
  clock.Set(kStart - 3'600);  // empties the history
  network.Switch(kSwitch).SampledAt(kStart + 60);
  Pass();
  EXPECT_EQ(Newest(kSwitch, "ge1"), (::Newest{{"input", 0}, {"output", 0}}));
}

TEST_F(TrafficMonitorTest, TakesACounterThatRestartedAtItsNewValueAsMoved) {
  network.Switch(kSwitch).Port("ge1", {6'000, 0}).SampledAt(kStart);
  Pass();
  clock.Set(kStart - 3'600);  // empties the history
  network.Switch(kSwitch).Port("ge1", {600, 0}).SampledAt(kStart + 60);
  Pass();
  EXPECT_THAT(Samples("1m", kSwitch, "ge1"), ElementsAre(Sample{-59, 10, 0}));
}

TEST_F(TrafficMonitorTest, KeepsOneSampleMoreForEachTimeThatAnInterfaceCameBack) {
  network.Switch(kSwitch).Port("ge2", {0, 0});
  for (int minute = 0; minute < 40; ++minute) PassAt(10);
  ASSERT_THAT(Speeds("1m", kSwitch, "ge1"), SizeIs(30));
  network.Switch(kSwitch).WithoutPort("ge1").SampledAt(clock.Now().tv_sec + 60);
  Pass();
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), SizeIs(30)) << "padding keeps to the cap";
  PassAt(10);  // first sight, whatever the length
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), SizeIs(31));
  const test::LogCapture log;
  PassAt(10);
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), SizeIs(31));
  EXPECT_THAT(log.Texts(Level::kDebug, "ge1 list length"),
              ElementsAre("[CalculateTrafficSpeed] AA:AA:AA:AA:AA:01-ge1 list length 32"));
}

TEST_F(TrafficMonitorTest, MovesTheHistoryOfAnInterfaceThatBeganToCarryASsidInEveryView) {
  network.AccessPoint(kSwitch).Radio("r5", Band::k5GHz).Port("wlan0", {0, 0}).SampledAt(kStart);
  Pass();
  for (int minute = 1; minute < 6; ++minute) {
    network.AccessPoint(kSwitch)
        .Port("wlan0", {static_cast<std::uint64_t>(minute) * 6'000, 0})
        .SampledAt(kStart + minute * 60);
    Pass();
  }
  ASSERT_THAT(Speeds("5m", kSwitch, "wlan0"), SizeIs(1));
  monitor.ReplaceInterfaceTraffic("", "wlan0", "nowhere");
  monitor.ReplaceInterfaceTraffic(kSwitch, "wlan0", "wlan0");
  ASSERT_THAT(Speeds("1m", kSwitch, "wlan0"), SizeIs(6)) << "neither moves anything";
  network.AccessPoint(kSwitch).Wifi("wlan0", "Lab", "r5", {36'000, 0}).SampledAt(kStart + 360);
  Pass();
  EXPECT_THAT(Speeds("1m", kSwitch, "wlan0"), IsEmpty());
  EXPECT_THAT(Speeds("1m", kSwitch, "5Ghz - Lab"), ElementsAre(0, 100, 100, 100, 100, 100, 0));
  EXPECT_THAT(Speeds("5m", kSwitch, "wlan0"), IsEmpty());
  EXPECT_THAT(Speeds("5m", kSwitch, "5Ghz - Lab"), SizeIs(1));
}

TEST_F(TrafficMonitorTest, KeepsTheLongerHistoriesOfAnInterfaceThatLostItsSsidForAMinute) {
  const auto carry = [&](int minute, const char* ssid) {
    network.AccessPoint(kSwitch)
        .Radio("r5", Band::k5GHz)
        .Wifi("wlan0", ssid, "r5", {static_cast<std::uint64_t>(minute) * 6'000, 0})
        .SampledAt(kStart + minute * 60);
    Pass();
  };
  for (int minute = 0; minute < 6; ++minute) carry(minute, "Lab");
  ASSERT_THAT(Speeds("5m", kSwitch, "5Ghz - Lab"), SizeIs(1));
  carry(6, "");
  carry(7, "Lab");
  EXPECT_THAT(Speeds("5m", kSwitch, "5Ghz - Lab"), SizeIs(1));
}

TEST_F(TrafficMonitorTest, MovesAHistoryThatTheClockHasEmptiedInPlaceOfWhatStoodUnderTheNewName) {
  const auto carry = [&](int minute, const char* ssid) {
    clock.Set(kStart + minute * 60 - 60);
    network.AccessPoint(kSwitch)
        .Radio("r5", Band::k5GHz)
        .Wifi("wlan0", ssid, "r5", {static_cast<std::uint64_t>(minute) * 6'000, 0})
        .SampledAt(kStart + minute * 60);
    Pass();
  };
  for (int minute = 1; minute <= 6; ++minute) carry(minute, "Lab");
  for (int minute = 7; minute <= 12; ++minute) carry(minute, "");
  ASSERT_THAT(Speeds("5m", kSwitch, "wlan0"), SizeIs(1));
  carry(6, "");  // the clock was set back: every sample under the interface's own name lay in the future
  ASSERT_THAT(Speeds("5m", kSwitch, "5Ghz - Lab"), SizeIs(2));
  carry(6, "Lab");
  EXPECT_THAT(Speeds("5m", kSwitch, "5Ghz - Lab"), IsEmpty());
}

TEST_F(TrafficMonitorTest, LogsEachStepOfAMeasurementAtDebugLevel) {
  network.Switch(kSwitch).Port("ge1", {1'000, 100}).SampledAt(kStart);
  Pass();
  network.Switch(kSwitch).Port("ge1", {7'000, 700}).SampledAt(kStart + 60);
  const test::LogCapture log;
  Pass();
  EXPECT_THAT(log.Texts(Level::kInfo), IsEmpty());
  EXPECT_THAT(
      log.Texts(Level::kDebug),
      ElementsAre(
          "[TrafficMonitor::Collectdata] device id: AA:AA:AA:AA:AA:01, interface name: ge1, ifIndex: 1",
          "[ConvertDriverStruct] TrafficMonitor ConvertDriverStruct interface name:ge1, ssid: , radio:-1",
          "[CalculateTrafficSpeed] AA:AA:AA:AA:AA:01-ge1 inbytes:7000 outbytes:700",
          "[CalculateTrafficSpeed] AA:AA:AA:AA:AA:01-ge1 lastinbytes:1000 lastoutbytes:100",
          "[CalculateTrafficSpeed] this time 1795219320 last time 1795219260",
          "[CalculateTrafficSpeed] in: 7000, in_last: 1000, out: 700, out_last: 100, current_polling_time_: "
          "1795219320, "
          "last_polling_time_: 1795219260",
          "[CalculateTrafficSpeed] AA:AA:AA:AA:AA:01-ge1 current_sample_time_ 1795219260 last_sample_time_ 1795219200",
          "[CalculateTrafficSpeed] AA:AA:AA:AA:AA:01-ge1 push 1 speed: 1m in 100 out 10, time 1795219320",
          "[CalculateTrafficSpeed] AA:AA:AA:AA:AA:01-ge1 list length 2"));
}

}  // namespace
