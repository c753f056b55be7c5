#include "platform/topics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace monitoring;
using Texts = std::vector<std::string>;

TEST(Topics, NameMonitorsTopicsViewsAndPeriods) {
  EXPECT_EQ(Texts({kHealthMonitor, kTrafficMonitor, kWirelessTopMonitor, kSsidClientCountMonitor,
                   kDevicesClientCountMonitor, kWirelessNetworkReport, kWirelessClientReport}),
            Texts({"HealthMonitor", "TrafficMonitor", "wireless_top_monitor", "SSIDClientCountMonitor",
                   "DevicesClientCountMonitor", "wireless_network_report", "wireless_client_report"}));
  EXPECT_EQ(Texts({kView1m, kView5m, kView10m, kView1h, kView2h, kView1day, kDaily, kWeekly}),
            Texts({"1m", "5m", "10m", "1h", "2h", "1day", "daily", "weekly"}));
}

TEST(Topics, ListTheViewsFromTheShortestOn) {
  EXPECT_THAT(kViews, ::testing::ElementsAreArray({"1m", "5m", "10m", "1h", "2h", "1day"}));
}

TEST(Topics, HaveDefaultViews) {
  EXPECT_STREQ(kTrafficDefaultView, "10m");
  EXPECT_STREQ(kClientCountDefaultView, "1h");
}

}  // namespace
