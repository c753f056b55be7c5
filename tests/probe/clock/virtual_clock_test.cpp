#include "probe/clock/virtual_clock.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <thread>

namespace {

using probe::ClockInstallation;
using probe::VirtualClock;

TEST(VirtualClock, IsWhatTheCLibraryTells) {
  VirtualClock clock(1'000);
  const ClockInstallation installation(clock);
  time_t out = 0;
  EXPECT_EQ(time(&out), 1'000);
  EXPECT_EQ(out, 1'000);
  timeval now{};
  EXPECT_EQ(gettimeofday(&now, nullptr), 0);
  EXPECT_EQ(now.tv_sec, 1'000);
  clock.Set(900);
  EXPECT_EQ(time(nullptr), 900);
}

TEST(VirtualClock, LetsTheSleeperGoPassByPass) {
  VirtualClock clock(0);
  const ClockInstallation installation(clock);
  std::atomic<int> passes{0};
  std::jthread engine([&] {
    while (passes < 3) {
      sleep(60);
      ++passes;
    }
    sleep(60);
  });
  clock.RunPass(60);
  EXPECT_EQ(passes, 1);
  clock.RunPass(125);
  EXPECT_EQ(passes, 2);
  EXPECT_EQ(time(nullptr), 125);
  clock.RunPass(180);
  EXPECT_EQ(passes, 3);
  clock.RunFreely();
}

TEST(VirtualClock, MovesOnByEverySleepWhenItRunsFreely) {
  VirtualClock clock(0);
  const ClockInstallation installation(clock);
  std::jthread engine([&] {
    for (int pass = 0; pass < 5; ++pass) sleep(60);
  });
  clock.AwaitSleeper();
  clock.RunFreely();
  engine.join();
  EXPECT_EQ(time(nullptr), 300);
}

TEST(InstalledClock, IsTheSystemsWhenNobodyInstalledAnother) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  EXPECT_NEAR(static_cast<double>(time(nullptr)), static_cast<double>(now.tv_sec), 2);
  EXPECT_EQ(sleep(0), 0U);
}

}  // namespace
