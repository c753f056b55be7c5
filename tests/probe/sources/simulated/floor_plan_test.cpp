#include "probe/sources/simulated/floor_plan.h"
#include "platform/device_records.h"

#include <gtest/gtest.h>

#include <set>

namespace probe::simulated {
namespace {

using vexora_probe::models::controller::DeviceType;

TEST(FloorPlan, OfTheSmallCompanyHasTwoFloors) {
  const FloorPlan plan = DrawFloorPlan(Dice(1), 9);
  ASSERT_EQ(plan.devices.size(), 9U);
  EXPECT_EQ(plan.devices[0].type, DeviceType::kRouter);
  EXPECT_EQ(plan.devices[1].type, DeviceType::kSwitch);
  EXPECT_EQ(plan.devices[2].type, DeviceType::kSwitch);
  for (std::size_t device = 3; device < 9; ++device) EXPECT_EQ(plan.devices[device].type, DeviceType::kAccessPoint);
  ASSERT_EQ(plan.floors.size(), 2U);
  EXPECT_EQ(plan.floors[0].access_points, 3U);
  EXPECT_EQ(plan.floors[1].first_access_point, 3U);
  EXPECT_EQ(plan.devices[8].name, "ap2-meeting");
}

class FloorPlanOfSize : public ::testing::TestWithParam<std::size_t> {};

TEST_P(FloorPlanOfSize, HasThatManyDevicesAndAPortForEveryAccessPoint) {
  const FloorPlan plan = DrawFloorPlan(Dice(1), GetParam());
  ASSERT_EQ(plan.devices.size(), GetParam());
  ASSERT_GE(plan.access_points(), 1U);
  EXPECT_EQ(plan.routers + plan.switches + plan.access_points(), GetParam());
  std::size_t next = 0;
  for (const Floor& floor : plan.floors) {
    EXPECT_EQ(floor.first_access_point, next);
    EXPECT_GE(floor.access_points, 1U);
    if (plan.switches > 0) {
      EXPECT_LE(floor.access_points, kMaxAccessPointsOnSwitch);
    }
    next += floor.access_points;
  }
  EXPECT_EQ(next, plan.access_points());
}

TEST_P(FloorPlanOfSize, GivesEveryDeviceItsOwnNames) {
  const FloorPlan plan = DrawFloorPlan(Dice(1), GetParam());
  std::set<std::string> macs;
  std::set<std::string> names;
  std::set<std::string> ips;
  for (const DevicePlan& device : plan.devices) {
    macs.insert(device.mac);
    names.insert(device.name);
    ips.insert(device.ip);
    EXPECT_EQ(device.mac.substr(0, 3), "02:");
    EXPECT_FALSE(device.model.empty());
    EXPECT_FALSE(device.version.empty());
    std::set<std::string> ports;
    for (const Port& port : device.ports) ports.insert(port.name);
    EXPECT_EQ(ports.size(), device.ports.size());
  }
  EXPECT_EQ(macs.size(), GetParam());
  EXPECT_EQ(names.size(), GetParam());
  EXPECT_EQ(ips.size(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Sizes, FloorPlanOfSize, ::testing::Values(1, 2, 3, 4, 5, 6, 9, 43, 44, 300, 1'051));

TEST(FloorPlan, TakesAnotherSwitchOnlyWhenTheOthersAreFull) {
  EXPECT_EQ(DrawFloorPlan(Dice(1), 43).switches, 2U);  // 40 access points
  EXPECT_EQ(DrawFloorPlan(Dice(1), 44).switches, 3U);
  EXPECT_EQ(DrawFloorPlan(Dice(1), 1'051).access_points(), 1'000U);
}

TEST(FloorPlan, HasOneDeviceThatRefusesTheLogin) {
  int refusing = 0;
  for (const DevicePlan& device : DrawFloorPlan(Dice(1), 300).devices) refusing += device.refuses_login ? 1 : 0;
  EXPECT_EQ(refusing, 1);
}

}  // namespace
}  // namespace probe::simulated
