#include "probe/sources/snmp/poll_schedule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

namespace probe::snmp {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;

class PollScheduleTest : public ::testing::Test {
 protected:
  static PollSchedule::Time At(int second) { return kStart + seconds(second); }

  /// Plays `duration` seconds of one device that answers, or does not, at once. The seconds at which it was polled.
  static std::vector<int> Polls(PollSchedule& schedule, int from, int duration, bool answers) {
    std::vector<int> polls;
    for (int second = from; second < from + duration; ++second) {
      if (const auto device = schedule.Begin(At(second))) {
        polls.push_back(second);
        schedule.Finish(*device, answers, At(second));
      }
    }
    return polls;
  }

  static constexpr PollSchedule::Time kStart{hours(1)};
};

TEST_F(PollScheduleTest, HasNothingDueWithoutDevices) {
  PollSchedule schedule({}, kStart);

  EXPECT_EQ(schedule.NextDue(), std::nullopt);
  EXPECT_EQ(schedule.Begin(At(1'000)), std::nullopt);
}

TEST_F(PollScheduleTest, PollsAllSoonAndThenSpreadOverTheInterval) {
  constexpr std::size_t kDevices = 60;
  PollSchedule schedule(std::vector<PollSchedule::Duration>(kDevices, seconds(30)), kStart);
  std::vector<std::vector<PollSchedule::Duration>> polls(kDevices);
  for (milliseconds now{0}; now < seconds(120); now += milliseconds(10)) {
    while (const auto device = schedule.Begin(kStart + now)) {
      polls[*device].push_back(now);
      schedule.Finish(*device, true, kStart + now);
    }
  }
  for (std::size_t device = 0; device < kDevices; ++device) {
    ASSERT_GE(polls[device].size(), 4U);
    EXPECT_LT(polls[device][0], seconds(2)) << device;
    EXPECT_GE(polls[device][1] - polls[device][0], seconds(1)) << device;
    EXPECT_LE(polls[device][1] - polls[device][0], seconds(31)) << device;
    // One every half second, each at its place from the second on.
    EXPECT_EQ(polls[device][3] % seconds(30), device * milliseconds(500)) << device;
    EXPECT_EQ(polls[device][3] - polls[device][2], seconds(30)) << device;
  }
}

TEST_F(PollScheduleTest, PollsASilentDeviceAgainAtItsPlaceOfTheGrid) {
  PollSchedule schedule({seconds(30), seconds(30), seconds(30)}, kStart);
  EXPECT_EQ(schedule.Begin(At(0)), 0U);
  EXPECT_EQ(schedule.Begin(At(1)), 1U);
  EXPECT_EQ(schedule.Begin(At(2)), 2U);

  for (const std::size_t device : {0U, 1U, 2U}) schedule.Finish(device, false, At(5));

  EXPECT_EQ(schedule.NextDue(), At(10));
  EXPECT_EQ(schedule.Begin(At(10)), 1U);
  EXPECT_EQ(schedule.NextDue(), At(20));
  EXPECT_EQ(schedule.Begin(At(20)), 2U);
  EXPECT_EQ(schedule.NextDue(), At(30));
}

TEST_F(PollScheduleTest, LeavesADeviceWhereItIsWhoseFirstPollTookTooLong) {
  PollSchedule schedule({seconds(30), seconds(30)}, kStart);
  EXPECT_EQ(schedule.Begin(At(0)), 0U);
  EXPECT_EQ(schedule.Begin(At(1)), 1U);

  schedule.Finish(1, true, At(23));  // its place was at 15 s

  EXPECT_EQ(schedule.NextDue(), At(31));
}

TEST_F(PollScheduleTest, PollsSoonerWhereTheIntervalIsShort) {
  PollSchedule schedule({seconds(15), seconds(15)}, kStart);
  EXPECT_EQ(schedule.Begin(kStart), 0U);
  EXPECT_EQ(schedule.NextDue(), kStart + milliseconds(500));
}

TEST_F(PollScheduleTest, PollsAtEvenDistancesHoweverLongAPollTakes) {
  PollSchedule schedule({seconds(30)}, kStart);
  ASSERT_EQ(schedule.Begin(At(0)), 0U);

  schedule.Finish(0, true, At(12));
  EXPECT_EQ(schedule.NextDue(), At(30));
  ASSERT_EQ(schedule.Begin(At(31)), 0U);
  schedule.Finish(0, true, At(32));

  EXPECT_EQ(schedule.NextDue(), At(60));
}

TEST_F(PollScheduleTest, LeavesOutThePlacesThatAPollTookUp) {
  PollSchedule schedule({seconds(30)}, kStart);
  ASSERT_EQ(schedule.Begin(At(0)), 0U);

  schedule.Finish(0, true, At(60));
  EXPECT_EQ(schedule.NextDue(), At(90));
  ASSERT_EQ(schedule.Begin(At(90)), 0U);
  schedule.Finish(0, true, At(90 + 10 * 86'400 + 1));

  EXPECT_EQ(schedule.NextDue(), At(90 + 10 * 86'400 + 30));
}

TEST_F(PollScheduleTest, AsksASilentDeviceMoreRarelyUpToEveryFourthInterval) {
  PollSchedule schedule({seconds(30)}, kStart);

  EXPECT_THAT(Polls(schedule, 0, 600, false), ElementsAre(0, 30, 90, 210, 330, 450, 570));
}

TEST_F(PollScheduleTest, IsBackAtEachIntervalFromTheFirstAnswerOn) {
  PollSchedule schedule({seconds(30)}, kStart);
  Polls(schedule, 0, 450, false);

  EXPECT_THAT(Polls(schedule, 450, 100, true), ElementsAre(450, 480, 510, 540));
  EXPECT_THAT(Polls(schedule, 550, 200, false), ElementsAre(570, 600, 660));
}

TEST_F(PollScheduleTest, TakesTheDeviceThatIsDueLongestFirst) {
  PollSchedule schedule({seconds(60), seconds(10)}, kStart);

  EXPECT_EQ(schedule.Begin(At(100)), 0U);
  EXPECT_EQ(schedule.Begin(At(100)), 1U);
  EXPECT_EQ(schedule.Begin(At(100)), std::nullopt);
}

}  // namespace
}  // namespace probe::snmp
