#include "probe/sources/simulated/simulated_source.h"
#include "probe/clock/clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include "probe/clock/virtual_clock.h"
#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 60s;  // for an event that a working machine sees at once

class SimulatedSourceTest : public SimulatedTest {
 protected:
  /// When the router was last read; nothing before it was.
  std::optional<time_t> SampledAt(const SimulatedSource& source) {
    const auto snapshot = centre.Snapshot(source.network().DeviceMacs()[0]);
    return snapshot == nullptr ? std::nullopt : snapshot->sample_time;
  }

  /// Waits until the router was read at `expected`.
  bool Awaits(const SimulatedSource& source, time_t expected) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (SampledAt(source) != expected) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::yield();
    }
    return true;
  }

  const time_t noon = kMonday + 12 * kHour;
  VirtualClock clock{noon};
  const ClockInstallation installation{clock};
  DeviceCentre centre;
};

TEST_F(SimulatedSourceTest, HasDevicesAsSoonAsItIsStarted) {
  SimulatedSource source(centre, {});
  EXPECT_EQ(SampledAt(source), std::nullopt);
  source.Start();
  EXPECT_EQ(SampledAt(source), noon);
  EXPECT_GE(centre.GetOnlineManagedDevices(false).size(), 9U);
}

TEST_F(SimulatedSourceTest, ReadsAgainWhenItsSecondsOfTheClockHavePassed) {
  SimulatedSource source(centre, {}, 30);
  source.Start();
  clock.Set(noon + 30);
  EXPECT_TRUE(Awaits(source, noon + 30));
  clock.Set(noon + 59);  // too early: the next reading is the one after it
  clock.Set(noon + 75);
  EXPECT_TRUE(Awaits(source, noon + 75));
}

TEST_F(SimulatedSourceTest, FollowsAClockThatGoesBack) {
  SimulatedSource source(centre, {}, 30);
  source.Start();
  clock.Set(noon - kHour);
  EXPECT_TRUE(Awaits(source, noon - kHour));
  clock.Set(noon - kHour + 30);
  EXPECT_TRUE(Awaits(source, noon - kHour + 30));
}

TEST_F(SimulatedSourceTest, StopsAtOnceAndMayBeStoppedTwice) {
  SimulatedSource source(centre, {}, 1'000'000);
  source.Stop();
  source.Start();
  const auto begin = std::chrono::steady_clock::now();
  source.Stop();
  source.Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kPatience);
  clock.Set(noon + 2'000'000);
  EXPECT_EQ(SampledAt(source), noon);
}

}  // namespace
}  // namespace probe::simulated
