#include "probe/sources/simulated/wired_side.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/octets.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/probe/sources/simulated/given_sides.h"

namespace probe::simulated {
namespace {

class WiredSideTest : public GivenSides {};

TEST_F(WiredSideTest, CarryTheSumOfTheAirOverEveryCableOutOfTheHouse) {
  const PortOctets flows = Read(kMonday + 11 * kHour, 60);
  for (std::size_t access_point = 0; access_point < 6; ++access_point) {
    std::uint64_t up = 0;
    std::uint64_t down = 0;
    const std::vector<Octets>& ports = flows[3 + access_point];
    for (std::size_t port = kFirstSsidPort; port < ports.size(); ++port) {
      up += ports[port].in;
      down += ports[port].out;
    }
    EXPECT_GE(ports[kCable].in, down);
    EXPECT_LT(ports[kCable].in, down + 20'000);
    EXPECT_GE(ports[kCable].out, up);
    const std::vector<Octets>& floor = flows[access_point < 3 ? 1 : 2];
    EXPECT_EQ(floor[kFirstAccessPointPort + access_point % 3], Opposite(ports[kCable]));
  }
  Octets uplinks;
  for (const std::size_t floor : {1U, 2U}) {
    Octets rest;
    for (std::size_t port = kFirstAccessPointPort; port < flows[floor].size(); ++port) rest += flows[floor][port];
    EXPECT_EQ(flows[floor][kUplink], Opposite(rest));
    uplinks += flows[floor][kUplink];
  }
  EXPECT_EQ(flows[0][kWan], uplinks);
  EXPECT_GT(flows[0][kWan].in, 1'000'000U);
}

TEST_F(WiredSideTest, KeepQuietWhereAnAccessPointIsOffline) {
  states[4].is_online = false;
  const PortOctets flows = Read(kMonday + 11 * kHour, 60);
  for (const Octets& port : flows[4]) EXPECT_EQ(port, Octets{});
  EXPECT_EQ(flows[1][kFirstAccessPointPort + 1], Octets{});
  for (std::size_t radio = 0; radio < 2; ++radio) {
    for (std::size_t network = 0; network < 3; ++network) EXPECT_TRUE(air.ClientsOn(1, radio, network).empty());
  }
}

TEST_F(WiredSideTest, SaveTheServersAtNight) {
  const PortOctets night = Read(kMonday + kHour + 30 * kMinute, 1);
  const PortOctets morning = Read(kMonday + 6 * kHour, 1);
  EXPECT_GT(night[0][kWan].out, 10'000'000U);
  EXPECT_LT(morning[0][kWan].out, 3'000'000U);
}

TEST_F(WiredSideTest, KnowAnAverageSecondForEveryPortInUse) {
  const PortOctets average = cables.AverageSecond();
  ASSERT_EQ(average.size(), 9U);
  for (std::size_t device = 0; device < 9; ++device) {
    for (std::size_t port = 0; port < average[device].size(); ++port) {
      const Port& plan_port = plan.devices[device].ports[port];
      EXPECT_EQ(average[device][port].out > 0, plan_port.is_up && plan_port.has_statistics) << plan_port.name;
    }
  }
}

}  // namespace
}  // namespace probe::simulated
