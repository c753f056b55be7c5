#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "probe/sources/simulated/attendance.h"
#include "probe/sources/simulated/client_radio.h"
#include "probe/sources/simulated/client_traffic.h"
#include "probe/sources/simulated/roster.h"
#include "probe/sources/simulated/whereabouts.h"
#include "probe/sources/simulated/wireless_networks.h"
#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {
namespace {

using vexora_probe::models::controller::WIFIOpMode;

class PeopleTest : public SimulatedTest {
 protected:
  std::vector<Client> Of(ClientKind kind) const {
    std::vector<Client> clients;
    std::copy_if(roster.begin(), roster.end(), std::back_inserter(clients),
                 [&](const Client& client) { return client.kind == kind; });
    return clients;
  }

  std::size_t There(const std::vector<Client>& clients, time_t now) const {
    const Moment moment = MomentOf(now);
    return static_cast<std::size_t>(std::count_if(clients.begin(), clients.end(),
                                                  [&](const Client& client) { return IsThere(dice, client, moment); }));
  }

  const Dice dice{1};
  const FloorPlan plan = DrawFloorPlan(dice, 9);
  const std::vector<Client> roster = DrawRoster(dice, 400);
};

TEST_F(PeopleTest, GiveLaptopAndPhoneOfOnePersonTheSameFirstName) {
  const std::vector<Client> clients = DrawRoster(dice, 80);
  EXPECT_EQ(clients[2].owner, clients[6].owner);
  const std::string name = clients[2].hostname.substr(0, clients[2].hostname.find('-'));
  EXPECT_EQ(clients[2].hostname, name + "-laptop");
  EXPECT_TRUE(clients[6].hostname == name + "-phone" || clients[6].hostname.empty()) << clients[6].hostname;
}

TEST_F(PeopleTest, HaveNamesOfTheirOwnUnlessTheyKeepThemToThemselves) {
  std::set<std::string> names;
  std::set<std::uint64_t> macs;
  std::size_t nameless = 0;
  for (const Client& client : roster) {
    macs.insert(client.mac);
    if (client.hostname.empty()) {
      ++nameless;
    } else {
      names.insert(client.hostname);
    }
  }
  EXPECT_EQ(macs.size(), roster.size());
  EXPECT_EQ(names.size() + nameless, roster.size());
  EXPECT_GT(nameless, 0U);
  EXPECT_LT(nameless, roster.size() / 10);
}

TEST_F(PeopleTest, ComeInTheMorningAndLeaveInTheEvening) {
  const std::vector<Client> laptops = Of(ClientKind::kLaptop);
  ASSERT_EQ(laptops.size(), 160U);
  EXPECT_EQ(There(laptops, kMonday + 7 * kHour), 0U);
  EXPECT_GT(There(laptops, kMonday + 9 * kHour), 30U);
  EXPECT_GT(There(laptops, kMonday + 11 * kHour), 120U);
  EXPECT_LT(There(laptops, kMonday + 21 * kHour), 20U);
  EXPECT_EQ(There(laptops, kMonday + 23 * kHour + 30 * kMinute), 0U);
}

TEST_F(PeopleTest, StayAtHomeAtWeekends) {
  EXPECT_LT(There(Of(ClientKind::kPhone), kMonday + 5 * kDay + 11 * kHour), 12U);
  EXPECT_EQ(There(Of(ClientKind::kVisitor), kMonday + 6 * kDay + 11 * kHour), 0U);
  EXPECT_GT(There(Of(ClientKind::kThing), kMonday + 6 * kDay + 11 * kHour), 36U);
}

TEST_F(PeopleTest, LeavePhonesAsleepNowAndThen) {
  const Client phone = Of(ClientKind::kPhone)[0];
  int absences = 0;
  int there = 0;
  for (time_t day = 0; day < 5; ++day) {
    for (time_t minute = 0; minute < 4 * 60; ++minute) {
      const bool is_there = IsThere(dice, phone, MomentOf(kMonday + day * kDay + 11 * kHour + minute * kMinute));
      (is_there ? there : absences) += 1;
    }
  }
  EXPECT_GT(absences, 0);
  EXPECT_GT(there, 400);
}

TEST_F(PeopleTest, SignInToThePortalAfterTheyCame) {
  std::size_t visits = 0;
  std::size_t signed_in = 0;
  for (const Client& visitor : Of(ClientKind::kVisitor)) {
    const std::optional<Stay> stay = StayOn(dice, visitor, kMonday / kDay);
    if (!stay) continue;
    ++visits;
    EXPECT_FALSE(HasSignedIn(dice, visitor, MomentOf(kMonday + stay->arrives * kMinute)));
    EXPECT_FALSE(HasSignedIn(dice, visitor, MomentOf(kMonday + stay->leaves * kMinute)));
    signed_in += HasSignedIn(dice, visitor, MomentOf(kMonday + (stay->arrives + 5) * kMinute)) ? 1 : 0;
  }
  EXPECT_GT(visits, 15U);
  EXPECT_GT(signed_in, visits * 7 / 10);
  EXPECT_LT(signed_in, 40U);
  EXPECT_FALSE(HasSignedIn(dice, Of(ClientKind::kLaptop)[0], MomentOf(kMonday + 11 * kHour)));
}

TEST_F(PeopleTest, RoamOnTheirFloorWhileThingsStay) {
  std::map<std::uint32_t, std::set<std::size_t>> places;
  for (time_t minute = 0; minute < 8 * 60; minute += 5) {
    const Moment moment = MomentOf(kMonday + 9 * kHour + minute * kMinute);
    for (const Client& client : roster) {
      places[client.number].insert(NearestAccessPoint(dice, plan, client, moment));
    }
  }
  std::size_t roaming = 0;
  for (const Client& client : roster) {
    const std::set<std::size_t>& seen = places[client.number];
    if (client.kind == ClientKind::kThing) {
      EXPECT_EQ(seen.size(), 1U);
    }
    EXPECT_EQ(plan.floor_of_access_point[*seen.begin()], plan.floor_of_access_point[*seen.rbegin()]);
    roaming += seen.size() > 1 ? 1 : 0;
  }
  EXPECT_GT(roaming, 250U);
}

TEST_F(PeopleTest, GoToTheNextAccessPointWhenTheirsIsOffTheAir) {
  const Moment noon = MomentOf(kMonday + 12 * kHour);
  const IsOnTheAir all = [](std::size_t) { return true; };
  const IsOnTheAir all_but_first = [](std::size_t access_point) { return access_point != 0; };
  const IsOnTheAir none_downstairs = [](std::size_t access_point) { return access_point >= 3; };
  std::size_t moved = 0;
  for (const Client& client : roster) {
    const std::optional<Spot> spot = SpotOf(dice, plan, client, noon, all);
    ASSERT_EQ(spot.has_value(), IsThere(dice, client, noon));
    if (!spot || spot->access_point != 0) continue;
    ++moved;
    EXPECT_EQ(SpotOf(dice, plan, client, noon, all_but_first)->access_point, 1U);
    EXPECT_EQ(SpotOf(dice, plan, client, noon, none_downstairs), std::nullopt);
  }
  EXPECT_GT(moved, 10U);
}

TEST_F(PeopleTest, UseModesAndRatesOfTheirRadio) {
  std::set<WIFIOpMode> high;
  std::set<WIFIOpMode> low;
  const Moment noon = MomentOf(kMonday + 12 * kHour);
  for (const Client& client : roster) {
    if (client.kind == ClientKind::kThing) {
      EXPECT_EQ(RadioOf(dice, client, noon), kLowBand);
    } else {
      high.insert(ModeOf(dice, client, kHighBand));
    }
    low.insert(ModeOf(dice, client, kLowBand));
    EXPECT_GE(DataRateOf(dice, client, kLowBand, noon), 1);
    EXPECT_LE(DataRateOf(dice, client, kLowBand, noon), 300);
  }
  EXPECT_EQ(high, (std::set{WIFIOpMode::k802_11a, WIFIOpMode::k802_11n, WIFIOpMode::k802_11ac}));
  EXPECT_EQ(low, (std::set{WIFIOpMode::k802_11n, WIFIOpMode::k802_11b, WIFIOpMode::k802_11g}));
}

TEST_F(PeopleTest, MoveMoreByDayThanAtNightAndSomeMoveMuchMore) {
  std::uint64_t day = 0;
  std::uint64_t night = 0;
  std::map<std::uint32_t, std::uint64_t> by_laptop;
  for (const Client& laptop : Of(ClientKind::kLaptop)) {
    for (time_t minute = 0; minute < 60; ++minute) {
      const Octets ten = ClientRate(dice, laptop, MomentOf(kMonday + 10 * kHour + minute * kMinute));
      const Octets three = ClientRate(dice, laptop, MomentOf(kMonday + 3 * kHour + minute * kMinute));
      day += ten.in + ten.out;
      night += three.in + three.out;
      by_laptop[laptop.owner] += ten.in + ten.out;
    }
  }
  EXPECT_GT(day, 10 * night);
  EXPECT_GT(night, 0U);
  std::vector<std::uint64_t> volumes;
  for (const auto& [owner, volume] : by_laptop) volumes.push_back(volume);
  std::sort(volumes.begin(), volumes.end());
  EXPECT_GT(volumes.back(), 8 * volumes[volumes.size() / 2]);
}

TEST_F(PeopleTest, WorkToARhythm) {
  EXPECT_EQ(RhythmPercent(MomentOf(kMonday + 10 * kHour)), 100);
  EXPECT_EQ(RhythmPercent(MomentOf(kMonday + 3 * kHour)), 4);
  EXPECT_EQ(RhythmPercent(MomentOf(kMonday + 5 * kDay + 10 * kHour)), 25);
  EXPECT_EQ(RhythmPercent(MomentOf(kMonday + 5 * kDay + 3 * kHour)), 1);
}

}  // namespace
}  // namespace probe::simulated
