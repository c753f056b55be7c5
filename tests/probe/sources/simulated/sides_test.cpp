#include <gtest/gtest.h>

#include <set>

#include "probe/sources/simulated/client_traffic.h"
#include "probe/sources/simulated/radio_side.h"
#include "probe/sources/simulated/wired_side.h"
#include "probe/sources/simulated/wireless_networks.h"
#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {
namespace {

class SidesTest : public SimulatedTest {
 protected:
  /// One reading of both sides; gives what each port carried.
  PortOctets Read(time_t now, std::uint64_t elapsed) {
    PortOctets flows = NoOctets(plan);
    air.Advance(MomentOf(now), elapsed, states, flows);
    cables.Carry(MomentOf(now), elapsed, states, flows);
    return flows;
  }

  /// Sum of a client figure over all clients of an SSID interface.
  Octets OnInterface(std::size_t access_point, std::size_t radio, std::size_t network) const {
    Octets sum;
    for (const std::uint32_t client : air.ClientsOn(access_point, radio, network)) sum += air.OctetsOf(client);
    return sum;
  }

  const Dice dice{1};
  const FloorPlan plan = DrawFloorPlan(dice, 9);
  std::vector<DeviceState> states = std::vector<DeviceState>(9);
  RadioSide air{dice, plan, 80};
  const WiredSide cables{dice, plan};
};

TEST_F(SidesTest, CountOnAnSsidInterfaceWhatItsClientsMoved) {
  const PortOctets flows = Read(kMonday + 11 * kHour, 60);
  std::size_t busy = 0;
  for (std::size_t access_point = 0; access_point < 6; ++access_point) {
    for (std::size_t radio = 0; radio < 2; ++radio) {
      for (std::size_t network = 0; network < 3; ++network) {
        Octets expected = OnInterface(access_point, radio, network);
        busy += expected.out > 0 ? 1 : 0;
        expected.out += 60 * 90;  // broadcasts
        EXPECT_EQ(flows[3 + access_point][kFirstSsidPort + SsidInterface(radio, network)], expected);
      }
    }
  }
  EXPECT_GT(busy, 10U);
}

TEST_F(SidesTest, CarryTheSumOfTheAirOverEveryCableOutOfTheHouse) {
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

TEST_F(SidesTest, KeepQuietWhereAnAccessPointIsOffline) {
  states[4].is_online = false;
  const PortOctets flows = Read(kMonday + 11 * kHour, 60);
  for (const Octets& port : flows[4]) EXPECT_EQ(port, Octets{});
  EXPECT_EQ(flows[1][kFirstAccessPointPort + 1], Octets{});
  for (std::size_t radio = 0; radio < 2; ++radio) {
    for (std::size_t network = 0; network < 3; ++network) EXPECT_TRUE(air.ClientsOn(1, radio, network).empty());
  }
}

TEST_F(SidesTest, CountFromZeroForClientsOfAnAccessPointThatRestarts) {
  Read(kMonday + 3 * kHour, 60);  // at night: nobody moves
  Read(kMonday + 3 * kHour + 60, 60);
  std::size_t access_point = 0;
  while (air.ClientsOn(access_point, kLowBand, kStaff).empty()) ++access_point;
  const std::uint32_t thing = air.ClientsOn(access_point, kLowBand, kStaff).front();
  const std::uint64_t before = air.OctetsOf(thing).out;
  states[3 + access_point].has_restarted = true;
  Read(kMonday + 3 * kHour + 120, 0);
  EXPECT_GT(before, 0U);
  EXPECT_EQ(air.OctetsOf(thing), Octets{});
}

TEST_F(SidesTest, KeepPortalSessionsOverRoamingAndEndThemWithTheVisit) {
  bool was_longer_than_association = false;
  std::size_t with_session = 0;
  std::size_t without = 0;
  for (time_t minute = 0; minute < 10 * 60; ++minute) {
    Read(kMonday + 9 * kHour + minute * kMinute, 60);
    for (std::uint32_t client = 0; client < 80; ++client) {
      const PortalSession* session = air.SessionOf(client);
      if (air.client(client).kind != ClientKind::kVisitor) {
        EXPECT_EQ(session, nullptr);
        continue;
      }
      (session != nullptr ? with_session : without) += 1;
      if (session == nullptr) continue;
      EXPECT_EQ(session->client, client);
      EXPECT_EQ(session->day, kMonday / kDay);
      if (session->octets.out > air.OctetsOf(client).out) was_longer_than_association = true;
    }
  }
  EXPECT_TRUE(was_longer_than_association);
  EXPECT_GT(with_session, 100U);
  EXPECT_GT(without, 100U);
  Read(kMonday + 22 * kHour, 60);
  for (std::uint32_t client = 0; client < 80; ++client) EXPECT_EQ(air.SessionOf(client), nullptr);
}

TEST_F(SidesTest, BeginAPortalSessionAnewOnAnotherDay) {
  RadioSide large(dice, plan, 800);
  std::set<std::uint32_t> yesterday;
  std::size_t begun_anew = 0;
  for (time_t day = 0; day < 2; ++day) {  // one reading on each
    const Moment moment = MomentOf(kMonday + day * kDay + 13 * kHour);
    PortOctets flows = NoOctets(plan);
    large.Advance(moment, 60, states, flows);
    for (std::uint32_t client = 0; client < 800; ++client) {
      const PortalSession* session = large.SessionOf(client);
      if (session == nullptr) continue;
      EXPECT_EQ(session->day, moment.day);
      EXPECT_EQ(session->octets, ClientRate(dice, large.client(client), moment) * 60);
      begun_anew += yesterday.count(client);
      if (day == 0) yesterday.insert(client);
    }
  }
  EXPECT_GT(begun_anew, 0U);
}

TEST_F(SidesTest, SaveTheServersAtNight) {
  const PortOctets night = Read(kMonday + kHour + 30 * kMinute, 1);
  const PortOctets morning = Read(kMonday + 6 * kHour, 1);
  EXPECT_GT(night[0][kWan].out, 10'000'000U);
  EXPECT_LT(morning[0][kWan].out, 3'000'000U);
}

TEST_F(SidesTest, KnowAnAverageSecondForEveryPortInUse) {
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
