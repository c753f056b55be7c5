#include "probe/sources/simulated/whereabouts.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <set>

#include "probe/sources/simulated/attendance.h"
#include "tests/probe/sources/simulated/given_clients.h"

namespace probe::simulated {
namespace {

class WhereaboutsTest : public GivenClients {};

TEST_F(WhereaboutsTest, RoamOnTheirFloorWhileThingsStay) {
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

TEST_F(WhereaboutsTest, GoToTheNextAccessPointWhenTheirsIsOffTheAir) {
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

}  // namespace
}  // namespace probe::simulated
