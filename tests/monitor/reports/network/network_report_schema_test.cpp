#include <gmock/gmock.h>

#include "tests/monitor/reports/network/network_report_fixture.h"
#include "tests/support/schema/schema.h"

namespace {

using test::At;
using test::kAp;
using test::kFar;
using test::kMegabitForFiveMinutes;
using test::NetworkReportTest;
using test::SchemaViolation;
using ::testing::IsEmpty;
using ::testing::Not;

TEST_F(NetworkReportTest, RepliesFollowTheirSchema) {
  auto device = Office(kAp, 3, {0, 0});
  device.Platform("M1", "1.0").Neighbours({Heard(kFar, "", -60), Heard("BB:BB:BB:BB:BB:02", "x", -70)});
  Sample();
  Office(kAp, 3, {kMegabitForFiveMinutes, 0});
  Sample();
  EXPECT_EQ(SchemaViolation("wireless_network_report", monitor.GetWirelessReport("daily", "2026-11-18")), "");
  EXPECT_EQ(SchemaViolation("wireless_network_report", monitor.GetWirelessReport("weekly", "2026-11-15/2026-11-21")),
            "");
  EXPECT_EQ(SchemaViolation("wireless_network_report", monitor.GetWirelessReport("daily", "2026-11-01")), "");
  EXPECT_EQ(SchemaViolation("wireless_network_report", monitor.GetWirelessReport("", "")), "");
  EXPECT_EQ(SchemaViolation("wireless_network_report_avail_list", monitor.GetAvailableTypePeriod()), "");
}

TEST_F(NetworkReportTest, RepliesWithNullForWhatIsNotFiniteFollowTheirSchemaToo) {
  Office(kAp, 3);
  SampleAt(At(2026, 11, 19, 0, 2));
  std::string reply = monitor.GetWirelessReport("daily", "2026-11-19");
  for (auto at = reply.find("NaN"); at != std::string::npos; at = reply.find("NaN")) reply.replace(at, 3, "null");
  EXPECT_EQ(SchemaViolation("wireless_network_report", reply), "");
}

TEST(NetworkReportSchemas, RefuseOtherShapes) {
  EXPECT_THAT(SchemaViolation("wireless_network_report", "{}"), Not(IsEmpty()));
  EXPECT_THAT(SchemaViolation("wireless_network_report", R"({"rogue_ap": []})"), Not(IsEmpty()));
  EXPECT_THAT(SchemaViolation("wireless_network_report",
                              R"({"rogue_ap": [], "expire": 0, "wireless_access_points": {},
                                  "wireless_network": [], "spectrum_usage": {}})"),
              Not(IsEmpty()));
  EXPECT_THAT(SchemaViolation("wireless_network_report",
                              R"({"rogue_ap": [], "expire": false, "wireless_access_points": {},
                                  "wireless_network": [{"name": ""}], "spectrum_usage": {}})"),
              Not(IsEmpty()));
  EXPECT_THAT(SchemaViolation("wireless_network_report",
                              R"({"rogue_ap": [], "expire": false, "wireless_access_points": {},
                                  "wireless_network": [], "spectrum_usage": {"6GHz": {}}})"),
              Not(IsEmpty()));
  EXPECT_THAT(SchemaViolation("wireless_network_report_avail_list", R"({"daily": ["today"], "weekly": []})"),
              Not(IsEmpty()));
  EXPECT_THAT(SchemaViolation("wireless_network_report_avail_list", R"({"daily": []})"), Not(IsEmpty()));
}

}  // namespace
