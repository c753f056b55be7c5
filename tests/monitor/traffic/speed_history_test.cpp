#include "monitor/traffic/speed_history.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace {

using monitoring::traffic::History;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kUsualSize = 30;

void Append(History& history, time_t time) {
  history.Append({.time = time, .input = static_cast<std::uint64_t>(time), .output = 0}, kUsualSize);
}

std::vector<time_t> Times(const History& history) {
  std::vector<time_t> times;
  for (std::size_t index = 0; index < history.size(); ++index) times.push_back(history[index].time);
  return times;
}

/// The times from `first` to `last`.
std::vector<time_t> Range(time_t first, time_t last) {
  std::vector<time_t> times;
  for (; first <= last; ++first) times.push_back(first);
  return times;
}

TEST(SpeedHistory, DoesNotExistBeforeItsFirstSample) {
  History history;
  EXPECT_FALSE(history.exists());
  EXPECT_TRUE(history.empty());
  EXPECT_EQ(history.newest_time(), 0);
  Append(history, 5);
  EXPECT_TRUE(history.exists());
  EXPECT_EQ(history.oldest().time, 5);
  EXPECT_EQ(history.newest().time, 5);
  EXPECT_EQ(history.newest_time(), 5);
}

TEST(SpeedHistory, ExistsWhenAllItsSamplesWereDropped) {
  History history;
  Append(history, 5);
  history.DropOldest();
  EXPECT_TRUE(history.exists());
  EXPECT_TRUE(history.empty());
  EXPECT_EQ(history.newest_time(), 0);
  Append(history, 7);
  EXPECT_THAT(Times(history), ElementsAre(7));
}

TEST(SpeedHistory, KeepsSamplesInOrderAtEverySizeAndPlaceInTheRing) {
  for (time_t size = 1; size <= 70; ++size) {
    History history;
    time_t next = 1;
    for (; next <= size; ++next) Append(history, next);
    EXPECT_EQ(Times(history), Range(1, size));
    for (; next <= size + 80; ++next) {
      history.DropOldest();
      Append(history, next);
      ASSERT_EQ(Times(history), Range(next - size + 1, next));
      ASSERT_EQ(history.newest_time(), next);
    }
  }
}

TEST(SpeedHistory, GrowsInTheMiddleOfTheRing) {
  History history;
  for (time_t time = 1; time <= 4; ++time) Append(history, time);
  history.DropOldest();
  history.DropOldest();
  for (time_t time = 5; time <= 40; ++time) Append(history, time);
  EXPECT_EQ(Times(history), Range(3, 40));
}

TEST(SpeedHistory, TakesItsSamplesAlongAndLeavesNone) {
  History from;
  History to;
  Append(from, 1);
  Append(from, 2);
  Append(to, 9);
  to = std::move(from);
  EXPECT_THAT(Times(to), ElementsAre(1, 2));
  EXPECT_FALSE(from.exists());  // NOLINT(bugprone-use-after-move): what a history that was moved from is
  EXPECT_THAT(Times(from), IsEmpty());
  Append(from, 3);
  EXPECT_THAT(Times(from), ElementsAre(3));
  const History made(std::move(to));
  EXPECT_THAT(Times(made), ElementsAre(1, 2));
  EXPECT_FALSE(to.exists());  // NOLINT(bugprone-use-after-move): likewise
}

}  // namespace
