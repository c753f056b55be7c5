#include "monitor/traffic/traffic_monitor.h"

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
using ::testing::IsEmpty;
using ::testing::SizeIs;

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

}  // namespace
