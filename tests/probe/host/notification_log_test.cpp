#include "probe/host/notification_log.h"
#include "probe/host/device_details.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "probe/text/utf8.h"

namespace probe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Notification Open(const std::string& text, time_t since = 0, Severity severity = Severity::kAlert) {
  return {.severity = severity, .text = text, .since = since};
}

TEST(NotificationLogTest, KeepsWhatHoldsNoLonger) {
  NotificationLog log;
  log.Note("AA", {}, {Open("a"), Open("b")}, 100);
  EXPECT_THAT(log.Past(), IsEmpty());
  log.Note("AA", {Open("a", 7), Open("b")}, {Open("b")}, 160);
  ASSERT_EQ(log.Past().size(), 1U);
  EXPECT_EQ(log.Past().front().mac, "AA");
  EXPECT_EQ(log.Past().front().notification.text, "a");
  EXPECT_EQ(log.Past().front().notification.since, 7);
  EXPECT_EQ(log.Past().front().until, 160);
}

TEST(NotificationLogTest, TakesAnotherSeverityForAnotherNotification) {
  NotificationLog log;
  log.Note("AA", {Open("a")}, {Open("a", 0, Severity::kWarning)}, 100);
  EXPECT_EQ(log.Past().size(), 1U);
}

TEST(NotificationLogTest, DropsTheOldestOfTheDeviceAtItsCap) {
  constexpr std::size_t kCap = NotificationLog::kMaxPastPerDevice;
  NotificationLog log;
  log.Note("BB", {Open("quiet")}, {}, 90);
  for (std::size_t i = 0; i < kCap - 1; ++i) log.Note("AA", {Open(std::to_string(i))}, {}, 100);
  EXPECT_EQ(log.Past().size(), 1 + kCap - 1);
  log.Note("AA", {Open("last but one")}, {}, 100);
  ASSERT_EQ(log.Past().size(), 1 + kCap);
  EXPECT_EQ(log.Past()[1].notification.text, "0");
  log.Note("AA", {Open("last")}, {}, 100);
  ASSERT_EQ(log.Past().size(), 1 + kCap);
  EXPECT_EQ(log.Past()[0].notification.text, "quiet") << "one device must not push out what another said";
  EXPECT_EQ(log.Past()[1].notification.text, "1");
  EXPECT_EQ(log.Past().back().notification.text, "last");
}

TEST(NotificationLogTest, TellsThoseOfAllDevicesInTheOrderInWhichTheyEnded) {
  NotificationLog log;
  log.Note("BB", {Open("1")}, {}, 100);
  log.Note("AA", {Open("2")}, {}, 100);
  log.Note("BB", {Open("3")}, {}, 100);
  std::vector<std::string> texts;
  for (const PastNotification& past : log.Past()) texts.push_back(past.mac + past.notification.text);
  EXPECT_THAT(texts, ElementsAre("BB1", "AA2", "BB3"));
}

TEST(NotificationLogTest, CutsATextBeyondItsCap) {
  const auto bounded = [](const std::string& text) {
    std::vector<Notification> open{Open(text)};
    BoundNotifications(open);
    return open.front().text;
  };
  for (const std::size_t length : {kMaxNotificationOctets - 1, kMaxNotificationOctets})
    EXPECT_EQ(bounded(std::string(length, 'a')), std::string(length, 'a'));
  EXPECT_EQ(bounded(std::string(kMaxNotificationOctets + 1, 'a')), std::string(kMaxNotificationOctets - 3, 'a') + "…");
  std::string umlauts = "a";
  while (umlauts.size() <= kMaxNotificationOctets) umlauts += "ä";
  const std::string cut = bounded(umlauts);
  EXPECT_TRUE(IsUtf8(cut)) << "never within a character";
  EXPECT_GE(cut.size(), kMaxNotificationOctets - 3);
  EXPECT_LE(cut.size(), kMaxNotificationOctets);
  EXPECT_EQ(bounded(std::string(kMaxNotificationOctets + 1, '\x80')).size(), kMaxNotificationOctets - 3)
      << "what is no UTF-8 is cut all the same";
}

TEST(NotificationLogTest, KeepsTheMostUrgentOpenOnesAtTheirCap) {
  std::vector<Notification> open;
  for (std::size_t i = 0; i < kMaxOpenNotifications - 1; ++i)
    open.push_back(Open(std::to_string(i), 0, Severity::kWarning));
  BoundNotifications(open);
  EXPECT_EQ(open.size(), kMaxOpenNotifications - 1);
  open.push_back(Open("alert"));
  BoundNotifications(open);
  ASSERT_EQ(open.size(), kMaxOpenNotifications);
  EXPECT_EQ(open.front().text, "0") << "as the source told them";
  open.push_back(Open("second alert"));
  BoundNotifications(open);
  ASSERT_EQ(open.size(), kMaxOpenNotifications);
  EXPECT_EQ(open[0].text, "alert");
  EXPECT_EQ(open[1].text, "second alert");
  EXPECT_EQ(open.back().text, std::to_string(kMaxOpenNotifications - 3));
}

TEST(NotificationLogTest, ForgetsOneDevice) {
  NotificationLog log;
  log.Note("AA", {Open("a")}, {}, 100);
  log.Note("BB", {Open("b")}, {}, 100);
  log.Forget("AA");
  ASSERT_EQ(log.Past().size(), 1U);
  EXPECT_EQ(log.Past().front().mac, "BB");
}

TEST(NotificationLogTest, AnOpenNotificationKeepsItsTime) {
  std::vector<Notification> open{Open("a", 200), Open("b", 200)};
  KeepTimes({Open("a", 100), Open("b", 100, Severity::kInfo)}, open);
  EXPECT_EQ(open[0].since, 100);
  EXPECT_EQ(open[1].since, 200) << "of another severity";
}

}  // namespace
}  // namespace probe
