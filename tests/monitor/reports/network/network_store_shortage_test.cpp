// The records of the network report when memory runs out between two of them.

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "monitor/reports/network/network_names.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_store.h"
#include "tests/support/network.h"
#include "tests/support/shortage/heap_shortage.h"

namespace vexora_probe::monitor {
namespace {

TEST(NetworkStoreShortage, DoesNotKeepSamplesFromBeingDroppedOfAllDevices) {
  SampleStore store;
  store.day = "2026-11-18";
  RunningSum& sum = store.access_points.ids["ap"];
  for (const char* mac : {"a", "b"}) {
    DeviceRecord& device = store.devices[mac];
    device.keys = {"unused", "used"};
    device.days = {{.day = "2026-11-18", .networks = {{}, {.is_present = true}}}};
    device.today.resize(1);
    device.access_point = &sum;
  }
  {
    const test::HeapShortage shortage(0);
    store.DropSamples("2026-11-19");
    EXPECT_FALSE(test::HeapShortage::HasStruck()) << "nothing is allocated";
  }
  for (const auto& [mac, device] : store.devices) {
    EXPECT_TRUE(device.today.empty());
    EXPECT_EQ(device.access_point, nullptr);
    EXPECT_EQ(device.keys.size(), 1U);
  }
}

TEST(NetworkNamesShortage, LeavesTheRestOfTheNamesToTheNextPass) {
  const std::string name = "an access point with a name that no short text holds";
  const std::string week = "2026-11-15/2026-11-21";
  test::Network network;
  for (const char* mac : {"ap1", "ap2", "ap3"}) network.AccessPoint(mac).Named(name);
  bool has_struck = true;
  int spared = 0;
  for (; has_struck; ++spared) {
    AccessPointNames names;
    FamilySums sampled;
    Report report;
    for (const char* mac : {"ap1", "ap2", "ap3"}) {
      sampled.ids[mac];
      report["daily"]["2026-11-18"][mac];
    }
    names.Read(sampled);
    names.Store(week, false, report);  // they are known, and nothing about them changes any more
    for (const char* mac : {"ap1", "ap2", "ap3"}) report["daily"]["2026-11-19"][mac];
    {
      const test::HeapShortage shortage(spared);
      try {
        names.Store(week, true, report);
      } catch (const std::bad_alloc&) {  // as a pass survives it
      }
      has_struck = test::HeapShortage::HasStruck();
    }
    names.Store(week, false, report);
    for (const auto& [mac, record] : report["daily"]["2026-11-19"]) EXPECT_EQ(record.attributes.apname, name) << mac;
  }
  EXPECT_GT(spared, 3);
}

}  // namespace
}  // namespace vexora_probe::monitor
