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

TEST_F(PollScheduleTest, SpreadsTheFirstPollsOverTheInterval) {
  PollSchedule schedule({seconds(30), seconds(30), seconds(30)}, kStart);

  EXPECT_EQ(schedule.Begin(At(0)), 0U);
  EXPECT_EQ(schedule.Begin(At(9)), std::nullopt);
  EXPECT_EQ(schedule.NextDue(), At(10));
  EXPECT_EQ(schedule.Begin(At(10)), 1U);
  EXPECT_EQ(schedule.Begin(At(20)), 2U);
  EXPECT_EQ(schedule.NextDue(), std::nullopt);
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
