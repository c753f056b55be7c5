#include <gmock/gmock.h>

#include <cstdint>
#include <memory>

#include "platform/device_records.h"
#include "probe/host/device_centre.h"
#include "tests/monitor/traffic/traffic_fixture.h"

namespace {

using test::kStart;
using test::kSwitch;
using test::TrafficMonitorTest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class TrafficInterfaces : public TrafficMonitorTest {
 protected:
  /// A pass of a switch that has one port, with this ifIndex, and sent 100 octets a second.
  void PassWithIndex(std::int32_t index) {
    ++minute;
    probe::DeviceSnapshot state;
    state.sample_time = kStart + static_cast<time_t>(minute) * 60;
    state.interfaces["ge1"] = std::make_shared<vexora_probe::models::controller::InterfaceState>(
        vexora_probe::models::controller::InterfaceState{
            .traffic = std::make_shared<vexora_probe::models::controller::TrafficStats>(
                vexora_probe::models::controller::TrafficStats{
                    .if_index = index, .in_bytes = minute * 6'000, .out_bytes = minute * 6'000})});
    probe::DeviceCentre::Instance().Replace(kSwitch, state);
    Pass();
  }

  std::uint64_t minute = 0;
};

TEST_F(TrafficInterfaces, HaveTheIndexOfTheirNewestReading) {
  PassWithIndex(7);
  PassWithIndex(7);
  EXPECT_THAT(Message("1m"), HasSubstr(R"("ge1": { "ifIndex": 7,)"));
  PassWithIndex(12);  // renumbered, as by a restart
  EXPECT_THAT(Message("1m"), HasSubstr(R"("ge1": { "ifIndex": 12,)"));
  PassWithIndex(0);
  EXPECT_THAT(Message("1m"), HasSubstr(R"("ge1": { "ifIndex": 0,)"));
  EXPECT_THAT(Speeds("1m", kSwitch, "ge1"), ElementsAre(0, 100, 100, 100)) << "one history all along";
}

TEST_F(TrafficInterfaces, OfOneDisplayNameAreShownAsTheLastOfThem) {
  constexpr auto k5GHz = vexora_probe::models::controller::WIFIBandType::k5GHz;
  for (const std::uint64_t passes : {0U, 1U, 2U}) {
    auto device = network.AccessPoint(kSwitch);
    device.Radio("r5", k5GHz).Port("ge1", {0, 0});
    device.Wifi("wlan0", "Lab", "r5", {passes * 6'000, 0}).Wifi("wlan1", "Lab", "r5", {passes * 12'000, 0});
    device.SampledAt(kStart + static_cast<time_t>(passes) * 60);
    Pass();
  }
  EXPECT_THAT(Speeds("1m", kSwitch, "5Ghz - Lab"), ElementsAre(0, 200, 200));
  EXPECT_THAT(Message("1m"), HasSubstr(R"("5Ghz - Lab": { "ifIndex": 3,)")) << "that of wlan1";
}

TEST_F(TrafficInterfaces, GetNoSampleOfADayAMinuteEarly) {
  PassAt(0);
  for (int passes = 1; passes < 1'440; ++passes) PassAt(60);
  ASSERT_THAT(Samples("1day", kSwitch, "ge1"), SizeIs(1));
  ASSERT_EQ(Samples("2h", kSwitch, "ge1").back().minute, 1'440);
  // The probe slept, so that samples of two hours stand a minute before the end of the next day.
  clock.Set(clock.Now().tv_sec + time_t{238} * 60);
  for (int passes = 0; passes <= 1'200; ++passes) PassAt(60);
  ASSERT_EQ(Samples("2h", kSwitch, "ge1").back().minute, 1'440 + 1'439);
  EXPECT_THAT(Samples("1day", kSwitch, "ge1"), SizeIs(1));
  for (int passes = 0; passes < 120; ++passes) PassAt(60);
  EXPECT_THAT(Samples("1day", kSwitch, "ge1"), SizeIs(2));
}

}  // namespace
