#include "probe/sources/simulated/radio_side.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/octets.h"
#include "probe/sources/simulated/roster.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <set>

#include "probe/sources/simulated/client_traffic.h"
#include "probe/sources/simulated/wireless_networks.h"
#include "tests/probe/sources/simulated/given_sides.h"

namespace probe::simulated {
namespace {

class RadioSideTest : public GivenSides {
 protected:
  /// Sum of a client figure over all clients of an SSID interface.
  Octets OnInterface(std::size_t access_point, std::size_t radio, std::size_t network) const {
    Octets sum;
    for (const std::uint32_t client : air.ClientsOn(access_point, radio, network)) sum += air.OctetsOf(client);
    return sum;
  }
};

TEST_F(RadioSideTest, CountOnAnSsidInterfaceWhatItsClientsMoved) {
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

TEST_F(RadioSideTest, CountFromZeroForClientsOfAnAccessPointThatRestarts) {
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

TEST_F(RadioSideTest, KeepPortalSessionsOverRoamingAndEndThemWithTheVisit) {
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

TEST_F(RadioSideTest, BeginAPortalSessionAnewOnAnotherDay) {
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

}  // namespace
}  // namespace probe::simulated
