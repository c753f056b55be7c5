#include "probe/sources/simulated/neighbourhood.h"
#include "platform/device_records.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/whereabouts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {
namespace {

using ::testing::Contains;
using vexora_probe::models::controller::NeighboringAP;
using vexora_probe::models::controller::WIFIBandType;

class NeighbourhoodTest : public SimulatedTest {
 protected:
  std::list<NeighboringAP> Heard(std::size_t access_point, time_t now) const {
    return neighbourhood.HeardBy(access_point, MomentOf(now), [](std::size_t) { return true; });
  }

  const Dice dice{1};
  const FloorPlan plan = DrawFloorPlan(dice, 9);
  const Neighbourhood neighbourhood{dice, plan};
};

TEST_F(NeighbourhoodTest, HearsTheOthersOfTheFloorWhileTheyAreOnTheAir) {
  const auto own = [&](const IsOnTheAir& is_on_the_air) {
    std::size_t count = 0;
    for (const NeighboringAP& heard : neighbourhood.HeardBy(0, MomentOf(kMonday), is_on_the_air)) {
      count += heard.trusted != 0 && heard.ssid == "Office" ? 1 : 0;
    }
    return count;
  };
  EXPECT_EQ(own([](std::size_t) { return true; }), 2U);
  EXPECT_EQ(own([](std::size_t access_point) { return access_point != 1; }), 1U);
}

TEST_F(NeighbourhoodTest, HasTrustedAndRogueOnesThatComeAndGo) {
  std::set<std::size_t> rogue_counts;
  std::set<std::string> rogues;
  for (time_t now = kMonday; now < kMonday + kDay; now += 10 * kMinute) {
    std::size_t rogue = 0;
    std::size_t trusted = 0;
    for (const NeighboringAP& heard : Heard(2, now)) {
      (heard.trusted != 0 ? trusted : rogue) += 1;
      if (heard.trusted == 0) rogues.insert(heard.mac);
    }
    EXPECT_GE(trusted, 2U);
    rogue_counts.insert(rogue);
  }
  EXPECT_GE(rogue_counts.size(), 4U);
  EXPECT_GE(rogues.size(), 5U);
}

TEST_F(NeighbourhoodTest, GivesEachOneOneRecordWithinWhatRadioAllows) {
  const std::set<std::int32_t> low{1, 6, 11};
  for (std::size_t access_point = 0; access_point < plan.access_points(); ++access_point) {
    std::set<std::string> macs;
    for (const NeighboringAP& heard : Heard(access_point, kMonday + 11 * kHour)) {
      EXPECT_TRUE(macs.insert(heard.mac).second) << heard.mac;
      EXPECT_LE(heard.ssid.size(), 32U);
      EXPECT_GE(heard.signal, -95);
      EXPECT_LE(heard.signal, -42);
      EXPECT_NE(heard.band, WIFIBandType::kUnknown);
      EXPECT_EQ(low.count(heard.channel) == 1, heard.band == WIFIBandType::k2_4GHz) << heard.channel;
    }
  }
}

TEST_F(NeighbourhoodTest, BringsNamesThatAreANuisance) {
  std::set<std::string> names;
  for (time_t now = kMonday; now < kMonday + kDay; now += 20 * kMinute) {
    for (std::size_t access_point = 0; access_point < plan.access_points(); ++access_point) {
      for (const NeighboringAP& heard : Heard(access_point, now)) {
        if (heard.trusted == 0) names.insert(heard.ssid);
      }
    }
  }
  EXPECT_THAT(names, Contains(""));
  EXPECT_THAT(names, Contains("Cafe|Corner"));
  EXPECT_THAT(names, Contains("caf\xE9 \xC3\x28 \xFF"));
  EXPECT_THAT(names, Contains("<img src=x onerror=alert(1)>"));
  EXPECT_THAT(names, Contains("two\nlines"));
  EXPECT_THAT(names, Contains("Office"));
  EXPECT_THAT(names, Contains(::testing::SizeIs(32)));
}

TEST_F(NeighbourhoodTest, SwitchesTheBakeryOffAtNight) {
  std::size_t by_day = 0;
  std::size_t at_night = 0;
  for (std::size_t access_point = 0; access_point < plan.access_points(); ++access_point) {
    const auto bakery = ::testing::Field(&NeighboringAP::ssid, "Bluebird Bakery");
    by_day += ::testing::Value(Heard(access_point, kMonday + 11 * kHour), Contains(bakery)) ? 1 : 0;
    at_night += ::testing::Value(Heard(access_point, kMonday + 23 * kHour), Contains(bakery)) ? 1 : 0;
  }
  EXPECT_GT(by_day, 0U);
  EXPECT_EQ(at_night, 0U);
}

TEST_F(NeighbourhoodTest, LetsSeveralAccessPointsHearTheSameOne) {
  std::set<std::string> first;
  std::size_t shared = 0;
  for (const NeighboringAP& heard : Heard(0, kMonday + 11 * kHour)) first.insert(heard.mac);
  for (const NeighboringAP& heard : Heard(5, kMonday + 11 * kHour)) shared += first.count(heard.mac);
  EXPECT_GT(shared, 0U);
}

}  // namespace
}  // namespace probe::simulated
