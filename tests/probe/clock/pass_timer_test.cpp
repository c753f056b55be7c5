#include "probe/clock/pass_timer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <thread>

#include "probe/clock/clock.h"
#include "probe/clock/duration_histogram.h"
#include "probe/clock/pass_phase.h"
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

TEST(PassTimer, CountsPassesByDurationAndPhase) {
  LateClock clock;
  const probe::ClockInstallation installed(clock);
  probe::PassTimer timer(60'000);
  timer.Sleep(60);
  probe::EnterPassPhase(probe::PassPhase::kSample);
  std::this_thread::sleep_for(12ms);
  probe::EnterPassPhase(probe::PassPhase::kPush);
  std::this_thread::sleep_for(6ms);
  timer.Sleep(60);
  std::thread([] { probe::EnterPassPhase(probe::PassPhase::kPush); }).join();  // another thread tells nothing of a pass

  const probe::PassTotals totals = timer.totals();
  const auto sum = [&](probe::PassPhase phase) { return totals.phases[static_cast<std::size_t>(phase)].sum_seconds(); };
  EXPECT_GE(sum(probe::PassPhase::kSample), 0.012);
  EXPECT_GE(sum(probe::PassPhase::kPush), 0.006);
  EXPECT_NEAR(sum(probe::PassPhase::kHost) + sum(probe::PassPhase::kSample) + sum(probe::PassPhase::kPush),
              totals.durations.sum_seconds(), 1e-6);
  for (const probe::DurationHistogram& phase : totals.phases) {
    EXPECT_EQ(std::accumulate(phase.counts().begin(), phase.counts().end(), 0U), 1U);
  }
}

TEST(PassTimer, CountsPassesThatBeginLateAndThoseThatWereSkippedForIt) {
  LateClock clock;
  const probe::ClockInstallation installed(clock);
  probe::PassTimer timer(1'200);  // a minute in 50 ms, a second in less than one
  clock.slept = 50ms;
  timer.Sleep(60);
  const std::uint64_t late = timer.totals().late;  // a busy machine may have woken it late
  std::this_thread::sleep_for(120ms);              // a pass of more than two minutes
  timer.Sleep(60);
  EXPECT_EQ(timer.totals().late, late + 1);
  EXPECT_GE(timer.totals().skipped, 2U);
}

}  // namespace
