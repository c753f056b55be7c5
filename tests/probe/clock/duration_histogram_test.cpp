#include "probe/clock/duration_histogram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

TEST(DurationHistogram, PutsABoundIntoTheClassBelowIt) {
  probe::DurationHistogram times;
  times.Note(500us);
  times.Note(501us);
  times.Note(60s);
  times.Note(60s + 1ns);
  EXPECT_THAT(times.counts(), ElementsAre(1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1));
  EXPECT_NEAR(times.sum_seconds(), 120.001001, 1e-8);
}

}  // namespace
