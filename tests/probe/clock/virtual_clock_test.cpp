#include "probe/clock/virtual_clock.h"
#include "probe/clock/clock.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <memory>

#include "platform/tasks.h"

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

/// Sleeps so many times, a minute each.
class Sleeper final : public Task {
 public:
  explicit Sleeper(int sleeps) : Task("sleeper"), sleeps_(sleeps) {}
  void Run() override {
    for (; ended != sleeps_; ++ended) sleep(60);
  }
  std::atomic<int> ended{0};

 private:
  int sleeps_;
};

TEST(VirtualClock, LetsTheSleeperGoPassByPass) {
  VirtualClock clock(0);
  const ClockInstallation installation(clock);
  const auto sleeper = std::make_shared<Sleeper>(3);
  task_manager::StartTask(sleeper);
  clock.AwaitSleeper();
  EXPECT_EQ(sleeper->ended, 0);
  clock.RunPass(60);
  EXPECT_EQ(sleeper->ended, 1);
  clock.RunPass(125);
  EXPECT_EQ(sleeper->ended, 2);
  EXPECT_EQ(time(nullptr), 125);
  task_manager::WaitTaskPool("sleeper");
}

TEST(VirtualClock, MovesOnByEachSleepThatASignalEnds) {
  VirtualClock clock(0);
  const ClockInstallation installation(clock);
  const auto sleeper = std::make_shared<Sleeper>(5);
  task_manager::StartTask(sleeper);
  task_manager::WaitTaskPool("sleeper");
  EXPECT_EQ(sleeper->ended, 5);
  EXPECT_EQ(time(nullptr), 300);
}

TEST(InstalledClock, IsTheSystemsWhenNobodyInstalledAnother) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  EXPECT_NEAR(static_cast<double>(time(nullptr)), static_cast<double>(now.tv_sec), 2);
  EXPECT_EQ(sleep(0), 0U);
}

}  // namespace
