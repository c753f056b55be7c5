#include "probe/host/stop_flag.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using probe::StopFlag;
using Clock = std::chrono::steady_clock;

TEST(StopFlagTest, IsNotSetWhenTheDeadlineComesFirst) {
  StopFlag stop;
  const auto deadline = Clock::now() + std::chrono::milliseconds(5);
  EXPECT_FALSE(stop.IsSetBefore(deadline));
  EXPECT_GE(Clock::now(), deadline);
}

TEST(StopFlagTest, EndsTheWaitOfAnotherThread) {
  StopFlag stop;
  bool is_set = false;
  std::thread worker([&] { is_set = stop.IsSetBefore(Clock::now() + std::chrono::hours(1)); });
  stop.Set();
  worker.join();
  EXPECT_TRUE(is_set);
}

TEST(StopFlagTest, StaysSet) {
  StopFlag stop;
  stop.Set();
  EXPECT_TRUE(stop.IsSetBefore(Clock::now() + std::chrono::hours(1)));
  EXPECT_TRUE(stop.IsSetBefore(Clock::now()));
}

}  // namespace
