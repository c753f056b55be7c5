#include "probe/host/notification_log.h"
#include "probe/host/device_details.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace probe {
namespace {

using ::testing::IsEmpty;

Notification Open(const std::string& text, time_t since = 0, Severity severity = Severity::kAlert) {
  return {.severity = severity, .text = text, .since = since};
}

TEST(NotificationLogTest, KeepsWhatHoldsNoLonger) {
  NotificationLog log;
  log.Note("AA", {}, {Open("a"), Open("b")}, 100);
  EXPECT_THAT(log.past(), IsEmpty());
  log.Note("AA", {Open("a", 7), Open("b")}, {Open("b")}, 160);
  ASSERT_EQ(log.past().size(), 1U);
  EXPECT_EQ(log.past().front().mac, "AA");
  EXPECT_EQ(log.past().front().notification.text, "a");
  EXPECT_EQ(log.past().front().notification.since, 7);
  EXPECT_EQ(log.past().front().until, 160);
}

TEST(NotificationLogTest, TakesAnotherSeverityForAnotherNotification) {
  NotificationLog log;
  log.Note("AA", {Open("a")}, {Open("a", 0, Severity::kWarning)}, 100);
  EXPECT_EQ(log.past().size(), 1U);
}

TEST(NotificationLogTest, DropsTheOldestAtItsCap) {
  NotificationLog log;
  for (std::size_t i = 0; i < NotificationLog::kMaxPast - 1; ++i) log.Note("AA", {Open(std::to_string(i))}, {}, 100);
  EXPECT_EQ(log.past().size(), NotificationLog::kMaxPast - 1);
  log.Note("AA", {Open("last but one")}, {}, 100);
  EXPECT_EQ(log.past().size(), NotificationLog::kMaxPast);
  EXPECT_EQ(log.past().front().notification.text, "0");
  log.Note("AA", {Open("last")}, {}, 100);
  EXPECT_EQ(log.past().size(), NotificationLog::kMaxPast);
  EXPECT_EQ(log.past().front().notification.text, "1");
  EXPECT_EQ(log.past().back().notification.text, "last");
}

TEST(NotificationLogTest, ForgetsOneDevice) {
  NotificationLog log;
  log.Note("AA", {Open("a")}, {}, 100);
  log.Note("BB", {Open("b")}, {}, 100);
  log.Forget("AA");
  ASSERT_EQ(log.past().size(), 1U);
  EXPECT_EQ(log.past().front().mac, "BB");
}

TEST(NotificationLogTest, AnOpenNotificationKeepsItsTime) {
  std::vector<Notification> open{Open("a", 200), Open("b", 200)};
  KeepTimes({Open("a", 100), Open("b", 100, Severity::kInfo)}, open);
  EXPECT_EQ(open[0].since, 100);
  EXPECT_EQ(open[1].since, 200) << "of another severity";
}

}  // namespace
}  // namespace probe
