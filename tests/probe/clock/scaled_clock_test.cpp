#include "probe/clock/scaled_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "platform/tasks.h"

namespace {

using std::chrono::steady_clock;

/// Seconds since the epoch, with their fraction.
double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

/// The same, of the machine's own clock.
double RealSeconds() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

TEST(ScaledClock, StartsAtThePresent) {
  const double before = RealSeconds();
  probe::ScaledClock clock(1);
  const double told = Seconds(clock.Now());
  EXPECT_GE(told, before - 0.001);
  EXPECT_LE(told, RealSeconds() + 0.001);
}

TEST(ScaledClock, RunsSoManyTimesFaster) {
  constexpr unsigned kSpeed = 1'000;
  probe::ScaledClock clock(kSpeed);
  const auto real_begin = steady_clock::now();
  const double begin = Seconds(clock.Now());
  clock.Sleep(60);
  const double slept = Seconds(clock.Now()) - begin;
  const double real = std::chrono::duration<double>(steady_clock::now() - real_begin).count();
  EXPECT_GE(slept, 60.0 - 0.001);
  EXPECT_LE(slept, real * kSpeed + 1.0) << "its seconds are a thousandth of real ones";
  EXPECT_GE(real, 0.06);
}

/// Sleeps an hour on a clock.
class HourOfSleep final : public Task {
 public:
  explicit HourOfSleep(probe::ScaledClock& clock) : Task("sleeper"), clock_(clock) {}
  void Run() override {
    is_asleep = true;
    left = clock_.Sleep(3'600);
  }
  std::atomic<bool> is_asleep{false};
  std::atomic<unsigned> left{0};

 private:
  probe::ScaledClock& clock_;
};

TEST(ScaledClock, TellsWhatWasLeftOfASleepThatASignalEnded) {
  probe::ScaledClock clock(2);
  const auto sleeper = std::make_shared<HourOfSleep>(clock);
  task_manager::StartTask(sleeper);
  while (!sleeper->is_asleep) std::this_thread::yield();
  task_manager::WaitTaskPool("sleeper");
  EXPECT_GT(sleeper->left, 3'000U);
  EXPECT_LE(sleeper->left, 3'600U);
}

}  // namespace
