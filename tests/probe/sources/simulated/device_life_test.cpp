#include "probe/sources/simulated/device_life.h"
#include "probe/sources/simulated/floor_plan.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {
namespace {

class DeviceLifeTest : public SimulatedTest {
 protected:
  const Dice dice{1};
  const FloorPlan plan = DrawFloorPlan(dice, 9);
  const DeviceLife life{dice, plan};
};

TEST_F(DeviceLifeTest, TakesOneAccessPointOfflineInEachHalfOfAWorkingWeek) {
  for (time_t week = 0; week < 20; ++week) {
    for (const auto& [first, end] : {std::pair<time_t, time_t>{0, 3}, {3, 5}}) {
      std::set<std::size_t> victims;
      time_t minutes = 0;
      for (time_t now = first * kDay; now < end * kDay; now += kMinute) {
        const Moment moment = MomentOf(kMonday + week * 7 * kDay + now);
        for (std::size_t device = 0; device < plan.devices.size(); ++device) {
          if (life.IsOnline(device, moment)) continue;
          victims.insert(device);
          ++minutes;
          EXPECT_GE(moment.minute_of_day, 10 * 60);
          EXPECT_LT(moment.minute_of_day, 16 * 60 + 30);
        }
      }
      ASSERT_EQ(victims.size(), 1U);
      EXPECT_GE(*victims.begin(), 3U);
      EXPECT_GE(minutes, 20);
      EXPECT_LE(minutes, 90);
    }
  }
}

TEST_F(DeviceLifeTest, StartsADeviceWhenItsPowerIsBack) {
  std::set<std::size_t> offline;
  int returns = 0;
  for (time_t now = 0; now < 7 * kDay; now += kMinute) {
    const Moment moment = MomentOf(kMonday + now);
    for (std::size_t device = 3; device < plan.devices.size(); ++device) {
      if (!life.IsOnline(device, moment)) {
        offline.insert(device);
      } else if (offline.erase(device) > 0) {
        ++returns;
        EXPECT_EQ(life.LastStart(device, moment), moment.CalendarMinute());
      }
    }
  }
  EXPECT_EQ(returns, 2);
}

TEST_F(DeviceLifeTest, RestartsDevicesForMaintenanceAtNight) {
  std::set<std::size_t> restarted;
  for (time_t day = 0; day < 200; ++day) {
    const Moment six = MomentOf(kMonday + day * kDay + 6 * kHour);
    for (std::size_t device = 0; device < 3; ++device) {
      const std::int64_t last = life.LastStart(device, six);
      if (last == DeviceLife::kLongAgo) continue;
      restarted.insert(device);
      const std::int64_t minute_of_day = last % kMinutesOfDay;
      EXPECT_GE(minute_of_day, 2 * 60);
      EXPECT_LT(minute_of_day, 5 * 60);
      EXPECT_LE(last, six.CalendarMinute());
    }
  }
  EXPECT_EQ(restarted, (std::set<std::size_t>{0, 1}));  // nobody can log in to the second switch
}

TEST_F(DeviceLifeTest, HasOneAccessPointThatRestartsByItself) {
  std::set<std::int64_t> starts;
  for (time_t hour = 0; hour < 14 * 24; ++hour) starts.insert(life.LastStart(8, MomentOf(kMonday + hour * kHour)));
  EXPECT_GE(starts.size(), 4U);
}

TEST_F(DeviceLifeTest, LetsOldDevicesRunForMonths) {
  for (std::size_t device = 0; device < plan.devices.size(); ++device) {
    EXPECT_GE(life.UptimeOfOldDevice(device), 28 * kDay);
    EXPECT_LE(life.UptimeOfOldDevice(device), 200 * kDay);
  }
}

}  // namespace
}  // namespace probe::simulated
