#include "probe/clock/pass_timer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"

namespace {

using namespace std::chrono_literals;

/// Sleeps for as long as it is told, whatever is asked for.
class LateClock final : public probe::Clock {
 public:
  timeval Now() override { return {}; }
  unsigned Sleep(unsigned /*seconds*/) override {
    std::this_thread::sleep_for(slept);
    return 0;
  }
  std::chrono::milliseconds slept{0};
};

TEST(PassTimer, KnowsNothingBeforeAPassIsOver) {
  LateClock clock;
  const probe::ClockInstallation installed(clock);
  probe::PassTimer timer(60'000);
  EXPECT_FALSE(timer.last().has_value());
  timer.Sleep(60);
  EXPECT_FALSE(timer.last().has_value());
  EXPECT_FALSE(timer.worst().has_value());
}

TEST(PassTimer, TellsHowLongPassesTakeAndHowLateTheyBegin) {
  LateClock clock;
  const probe::ClockInstallation installed(clock);
  probe::PassTimer timer(60'000);  // a minute in a millisecond
  timer.Sleep(60);
  std::this_thread::sleep_for(30ms);  // a pass
  clock.slept = 21ms;
  timer.Sleep(60);
  ASSERT_TRUE(timer.last().has_value());
  EXPECT_GE(timer.last()->duration, 30ms);
  timer.Sleep(60);
  EXPECT_LT(timer.last()->duration, timer.worst()->duration);
  EXPECT_GE(timer.last()->lateness, 50ms) << "by the pass before and by what the sleep took too long";
  EXPECT_GE(timer.worst()->duration, 30ms);
}

TEST(PassTimer, ForgetsTheWorstAfterAnHour) {
  LateClock clock;
  const probe::ClockInstallation installed(clock);
  probe::PassTimer timer(60'000);
  timer.Sleep(60);
  std::this_thread::sleep_for(50ms);
  timer.Sleep(60);
  EXPECT_GE(timer.worst()->duration, 50ms);
  for (std::size_t pass = 0; pass < probe::PassTimer::kPasses; ++pass) timer.Sleep(60);
  EXPECT_LT(timer.worst()->duration, 50ms);
}

}  // namespace
