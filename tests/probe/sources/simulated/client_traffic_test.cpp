#include "probe/sources/simulated/client_traffic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <map>
#include <vector>

#include "tests/probe/sources/simulated/given_clients.h"

namespace probe::simulated {
namespace {

class ClientTrafficTest : public GivenClients {};

TEST_F(ClientTrafficTest, MoveMoreByDayThanAtNightAndSomeMoveMuchMore) {
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

TEST_F(ClientTrafficTest, WorkToARhythm) {
  EXPECT_EQ(RhythmPercent(MomentOf(kMonday + 10 * kHour)), 100);
  EXPECT_EQ(RhythmPercent(MomentOf(kMonday + 3 * kHour)), 4);
  EXPECT_EQ(RhythmPercent(MomentOf(kMonday + 5 * kDay + 10 * kHour)), 25);
  EXPECT_EQ(RhythmPercent(MomentOf(kMonday + 5 * kDay + 3 * kHour)), 1);
}

}  // namespace
}  // namespace probe::simulated
