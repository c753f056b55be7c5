#include "probe/replay/pass_meter.h"
#include "probe/clock/clock.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

/// A clock whose sleeps are over at once.
class SleeplessClock final : public probe::Clock {
 public:
  timeval Now() override { return {.tv_sec = 7, .tv_usec = 0}; }
  unsigned Sleep(unsigned seconds) override {
    slept += seconds;
    return 3;
  }

  unsigned slept = 0;
};

class PassMeterTest : public ::testing::Test {
 protected:
  SleeplessClock clock;
  probe::PassMeter meter{clock};
};

TEST_F(PassMeterTest, PassesTimeAndSleepsOnToItsClock) {
  std::thread engine([this] { EXPECT_EQ(meter.Sleep(60), 3U); });
  engine.join();
  EXPECT_EQ(clock.slept, 60U);
  EXPECT_EQ(meter.Now().tv_sec, 7);
}

TEST_F(PassMeterTest, CountsAPassForEachSleepThatIsOver) {
  EXPECT_EQ(meter.pass(), 0U);
  std::thread engine([this] {
    meter.Sleep(60);
    EXPECT_EQ(meter.pass(), 1U);
    meter.Sleep(60);
    EXPECT_EQ(meter.pass(), 2U);
  });
  engine.join();
  EXPECT_EQ(meter.cost().passes, 2U);
}

TEST_F(PassMeterTest, CountsTheTimeOfAPassThatEndsWithItsThread) {
  std::thread engine([this] {
    meter.Sleep(60);
    EXPECT_EQ(meter.cost().wall_seconds, 0) << "the pass is not over";
  });
  engine.join();
  EXPECT_GT(meter.cost().wall_seconds, 0);
}

}  // namespace
