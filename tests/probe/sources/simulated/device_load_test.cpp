#include "probe/sources/simulated/device_load.h"
#include "platform/device_records.h"
#include "probe/host/device_details.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {
namespace {

using vexora_probe::models::controller::DeviceType;

class DeviceLoadTest : public SimulatedTest {
 protected:
  /// The least CPU use in an hour, so that no peak is in it.
  std::int32_t QuietCpu() const {
    std::int32_t least = 100;
    for (time_t minute = 0; minute < 60; ++minute) least = std::min(least, At(minute).cpu);
    return least;
  }
  DeviceLoad At(time_t minute) const { return LoadOf(dice, causes, MomentOf(kMonday + 10 * kHour + minute * kMinute)); }

  const Dice dice{1};
  LoadCauses causes{.type = DeviceType::kAccessPoint,
                    .device = 4,
                    .uptime = 86'400,
                    .clients = 0,
                    .octets_per_second = 0,
                    .rogue_neighbours = 0,
                    .refuses_login = false};
};

TEST_F(DeviceLoadTest, GrowsWithClientsTrafficAndStarting) {
  const std::int32_t idle = QuietCpu();
  EXPECT_EQ(idle, 5);
  causes.clients = 20;
  EXPECT_EQ(QuietCpu(), idle + 15);
  causes.octets_per_second = 1'500'000;
  EXPECT_EQ(QuietCpu(), idle + 15 + 10);
  causes.uptime = 60;
  EXPECT_EQ(QuietCpu(), idle + 15 + 10 + 60);
  EXPECT_EQ(At(0).health, 4);
}

TEST_F(DeviceLoadTest, StaysBelowAHundredAndPeaksAtTimes) {
  causes.clients = 10'000;
  causes.octets_per_second = 1'000'000'000'000;
  causes.uptime = 1;
  EXPECT_EQ(QuietCpu(), 99);
  causes.clients = 0;
  causes.octets_per_second = 0;
  causes.uptime = 86'400;
  int peaks = 0;
  for (time_t minute = 0; minute < 24 * 60; ++minute) {
    const DeviceLoad load = At(minute);
    if (load.cpu < 60) continue;
    ++peaks;
    EXPECT_EQ(load.health, 3);
  }
  EXPECT_GT(peaks, 0);
  EXPECT_LT(peaks, 30);
}

TEST_F(DeviceLoadTest, IsUnknownBehindARefusedLogin) {
  causes.refuses_login = true;
  const DeviceLoad load = At(0);
  EXPECT_EQ(load.cpu, -1);
  EXPECT_EQ(load.uptime, -1);
  EXPECT_EQ(load.health, 3);
  EXPECT_EQ(load.notifications.alert, 1);
}

TEST_F(DeviceLoadTest, CountsTheNotificationsThatAreOpen) {
  causes.rogue_neighbours = 7;
  causes.uptime = 600;
  causes.refuses_login = true;
  int most = 0;
  for (std::size_t device = 0; device < 12; ++device) {
    causes.device = device;
    for (time_t minute = -600; minute < 840; minute += 7) {
      const DeviceLoad load = At(minute);
      int infos = 0;
      int warnings = 0;
      int alerts = 0;
      for (const Notification& open : load.open) {
        infos += open.severity == Severity::kInfo ? 1 : 0;
        warnings += open.severity == Severity::kWarning ? 1 : 0;
        alerts += open.severity == Severity::kAlert ? 1 : 0;
        EXPECT_LE(open.since, kMonday + 10 * kHour + minute * kMinute);
        EXPECT_FALSE(open.text.empty());
      }
      EXPECT_EQ(infos, load.notifications.info);
      EXPECT_EQ(warnings, load.notifications.warning);
      EXPECT_EQ(alerts, load.notifications.alert);
      most = std::max(most, infos);
    }
  }
  EXPECT_GT(most, 2);
}

TEST_F(DeviceLoadTest, AnInformationIsAsOldAsItsMinute) {
  const DeviceLoad evening = At(829);  // ten to midnight
  ASSERT_FALSE(evening.open.empty());
  for (const Notification& open : evening.open) {
    const time_t minute = (open.since - kMonday - 10 * kHour) / kMinute;
    const auto is_there = [&](const DeviceLoad& load) {
      return std::any_of(load.open.begin(), load.open.end(),
                         [&](const auto& other) { return other.text == open.text; });
    };
    EXPECT_TRUE(is_there(At(minute)));
    EXPECT_FALSE(is_there(At(minute - 1)));
  }
}

TEST_F(DeviceLoadTest, NotesRogueNeighboursAndFreshStarts) {
  EXPECT_EQ(At(1).notifications.warning, 0);
  EXPECT_EQ(At(1).notifications.alert, 0);
  causes.rogue_neighbours = 7;
  causes.uptime = 1'799;
  EXPECT_EQ(At(1).notifications.warning, 1);
  EXPECT_EQ(At(1).notifications.alert, 1);
  causes.uptime = 1'800;
  EXPECT_EQ(At(1).notifications.alert, 0);
}

}  // namespace
}  // namespace probe::simulated
