#include "monitor/reports/network/network_names.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "probe/host/device_centre.h"
#include "tests/support/network.h"

namespace vexora_probe::monitor {
namespace {

constexpr const char* kWeek = "2026-11-15/2026-11-21";

class NetworkNames : public ::testing::Test {
 protected:
  NetworkNames() {
    sampled.ids["ap"];
    for (const char* day : {"2026-11-17", "2026-11-18"}) report["daily"][day]["ap"];
    for (const char* week : {"2026-11-08/2026-11-14", kWeek}) report["weekly"][week]["ap"];
  }

  void Renew(bool has_new_records) {
    names.Read(sampled);
    names.Store(kWeek, has_new_records, report);
    sampled.is_week_due = false;
  }

  /// The names in the records of the two days and the two weeks.
  std::vector<std::string> Shown() {
    std::vector<std::string> shown;
    for (const auto& [period, buckets] : report) {
      for (const auto& [key, records] : buckets) {
        const NetworksAttr& info = records.at("ap").attributes;
        shown.push_back(info.apname + "," + info.model + "," + info.version);
      }
    }
    return shown;
  }

  test::Network network;
  FamilySums sampled;
  Report report;
  AccessPointNames names;
};

TEST_F(NetworkNames, AreWrittenIntoEveryRecordWhenTheyChange) {
  network.AccessPoint("ap").Named("hall").Platform("M", "1");
  Renew(true);
  EXPECT_EQ(Shown(), std::vector<std::string>(4, "hall,M,1"));
  network.AccessPoint("ap").Named("attic");
  Renew(false);
  EXPECT_EQ(Shown(), std::vector<std::string>(4, "attic,M,1"));
  network.AccessPoint("ap").Platform("M", "2");
  Renew(false);
  EXPECT_EQ(Shown(), std::vector<std::string>(4, "attic,M,2"));
}

TEST_F(NetworkNames, StayWhenTheHostForgetsThemButForTheCurrentWeek) {
  network.AccessPoint("ap").Named("hall");
  Renew(true);
  network.AccessPoint("ap").WithoutBasicInfo();
  Renew(false);
  EXPECT_EQ(Shown(), (std::vector<std::string>{"hall,,", "hall,,", "hall,,", ",,"}));
  probe::DeviceSnapshot known;
  known.basic_info->hostname = "hall";
  probe::DeviceCentre::Instance().Replace("ap", known);
  Renew(false);
  EXPECT_EQ(Shown(), std::vector<std::string>(4, "hall,,"));
}

TEST_F(NetworkNames, MayBecomeEmptyAfterTheHostDidNotKnowThem) {
  network.AccessPoint("ap").Named("hall");
  Renew(true);
  network.AccessPoint("ap").WithoutBasicInfo();
  Renew(false);
  probe::DeviceCentre::Instance().Replace("ap", probe::DeviceSnapshot());
  Renew(false);
  EXPECT_EQ(Shown(), std::vector<std::string>(4, ",,"));
}

TEST_F(NetworkNames, AreWrittenIntoNewRecordsAlthoughTheyHaveNotChanged) {
  network.AccessPoint("ap").Named("hall");
  Renew(true);
  report["daily"]["2026-11-18"].clear();
  report["daily"]["2026-11-18"]["ap"];
  Renew(true);
  EXPECT_EQ(Shown(), std::vector<std::string>(4, "hall,,"));
}

}  // namespace
}  // namespace vexora_probe::monitor
