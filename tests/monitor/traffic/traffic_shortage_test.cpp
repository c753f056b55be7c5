#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "monitor/engine/boundary.h"
#include "tests/monitor/traffic/traffic_fixture.h"
#include "tests/support/shortage/heap_shortage.h"

namespace {

using test::kOther;
using test::kSwitch;

constexpr std::array<const char*, 3> kPorts{"ge1", "ge2", "ge3"};

class TrafficShortage : public test::TrafficMonitorTest {
 protected:
  /// A pass in which all ports of both switches have moved by so many octets a second. Memory ends after `spared`
  /// allocations; tells whether it came to that.
  bool PassAtSpeed(std::uint64_t speed, int spared = 1'000'000) {
    octets_ += speed * 60;
    for (const char* mac : {kSwitch, kOther}) {
      for (const char* port : kPorts) network.Switch(mac).Port(port, {octets_, octets_});
      network.Switch(mac).SampledAt(clock.Now().tv_sec + 60);
    }
    const test::HeapShortage shortage(spared);
    monitoring::WithinBoundary("TrafficShortage", [&] { Pass(); });
    return test::HeapShortage::HasStruck();
  }

  /// The speed of a minute; -1 when it has no sample.
  std::int64_t SpeedAt(std::int64_t minute, const char* mac, const char* port) {
    for (const test::Sample& sample : Samples("1m", mac, port)) {
      if (sample.minute == minute) return sample.input;
    }
    return -1;
  }

  std::uint64_t octets_ = 0;
};

TEST_F(TrafficShortage, CountsTheTrafficOfAnIntervalOnce) {
  int failed = 0;
  int missing = 0;
  bool has_struck = true;
  for (; has_struck && !HasFailure(); ++failed) {
    SCOPED_TRACE("after " + std::to_string(failed) + " allocations");
    for (const char* mac : {kSwitch, kOther}) monitor.Cleanup(mac);
    for (int pass = 0; pass < 4; ++pass) PassAtSpeed(10);  // then histories grow
    has_struck = PassAtSpeed(1'000, failed);
    const std::int64_t minute = (clock.Now().tv_sec - test::kStart) / 60;
    PassAtSpeed(10);
    for (const char* mac : {kSwitch, kOther}) {
      for (const char* port : kPorts) {
        const auto burst = SpeedAt(minute, mac, port);
        const auto after = SpeedAt(minute + 1, mac, port);
        EXPECT_TRUE(burst == 1'000 || burst == -1) << burst;
        // Of two minutes at once when the device could not be read in the first.
        EXPECT_TRUE(after == 10 || (burst == -1 && after == 505)) << burst << " and " << after;
        missing += burst == -1 ? 1 : 0;
      }
    }
  }
  EXPECT_GT(failed, 3);
  EXPECT_GT(missing, 10);
}

TEST_F(TrafficShortage, OfANewInterfaceHoldsUpNoOtherDevice) {
  int failed = 0;
  bool has_struck = true;
  for (; has_struck && !HasFailure(); ++failed) {
    SCOPED_TRACE("after " + std::to_string(failed) + " allocations");
    for (const char* mac : {kSwitch, kOther}) monitor.Cleanup(mac);
    network.Switch(kSwitch).WithoutPort("ge9");
    for (int pass = 0; pass < 3; ++pass) PassAtSpeed(10);
    network.Switch(kSwitch).Port("ge9", {1, 1});
    has_struck = PassAtSpeed(10, failed);
    for (int pass = 0; pass < 2; ++pass) PassAtSpeed(10);
    // Its reading may find no memory: then the next one is for two minutes.
    const auto samples = Speeds("1m", kOther, "ge1").size();
    EXPECT_TRUE(samples == 6 || samples == 5) << samples;
    EXPECT_EQ(Newest(kOther, "ge1").at("input"), 10U);
  }
  EXPECT_GT(failed, 10);
}

}  // namespace
