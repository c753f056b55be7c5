// Real reports follow their schemas in docs/schemas/.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/monitor/reports/client/client_report_fixture.h"
#include "tests/support/schema/schema.h"

namespace test {
namespace {

using nlohmann::json;
using ::testing::IsEmpty;
using ::testing::Not;

class ClientReportSchemaTest : public ClientReportTest {
 protected:
  ClientReportSchemaTest() {
    InOffice({Laptop(), Phone()});
    AccessPoint().PortalUser("b0-00-00-00-00-02", {.username = "ann", .hostname = "", .in_bytes = 0, .out_bytes = 0});
    InLobby({Phone()});
  }

  /// Every kind of answer that there is at this moment.
  void ExpectToFollow() {
    EXPECT_EQ(SchemaViolation("wireless_client_report_periods", monitor.GetAvailableTypePeriod()), "");
    for (const char* type : {"daily", "weekly", "monthly"}) {
      for (const char* period : {kToday, kThisWeek, "2026-11-19", ""}) {
        EXPECT_EQ(SchemaViolation("wireless_client_report", monitor.GetWirelessReport(type, period)), "");
      }
    }
  }

  static bool IsRefused(const json& report) {
    return !SchemaViolation("wireless_client_report", report.dump()).empty();
  }
};

TEST_F(ClientReportSchemaTest, FollowsItsSchemasWithAndWithoutRows) {
  ExpectToFollow();
  Pass();
  ASSERT_EQ(Report("daily", kToday).guests.size(), 1U);
  ExpectToFollow();
  Pass();
  ExpectToFollow();
  PassAt(At(2026, 11, 19));
  ExpectToFollow();
}

TEST_F(ClientReportSchemaTest, FollowsItsSchemasForClientsOfWhichLittleIsKnown) {
  InOffice({{}});
  OnNetwork("ath0", {});
  AccessPoint().Wifi("ath1", "Office", "no such radio", {});
  Pass();
  ASSERT_EQ(Report("daily", kToday).clients.at(0).mac, "");
  ExpectToFollow();
}

TEST_F(ClientReportSchemaTest, RefusesWhatIsNoReport) {
  Pass();
  const json report = json::parse(monitor.GetWirelessReport("daily", kToday));
  ASSERT_FALSE(IsRefused(report));
  json changed = report;
  changed["wireless_clients"][0].erase("total");
  EXPECT_TRUE(IsRefused(changed));
  changed = report;
  changed["wireless_guests"][0]["extra"] = 1;
  EXPECT_TRUE(IsRefused(changed));
  changed = report;
  changed["wireless_clients"][0]["upload"] = "5";
  EXPECT_TRUE(IsRefused(changed));
  changed = report;
  changed["wireless_clients"][0]["type_frequency"] = "802.11n";
  EXPECT_TRUE(IsRefused(changed));
  changed = report;
  changed["expire"] = true;  // with rows
  EXPECT_TRUE(IsRefused(changed));
  EXPECT_TRUE(IsRefused({{"wireless_clients", json::array()}}));
}

TEST_F(ClientReportSchemaTest, RefusesWhatIsNoListOfPeriods) {
  EXPECT_THAT(SchemaViolation("wireless_client_report_periods", R"({"daily": ["today"], "weekly": []})"),
              Not(IsEmpty()));
  EXPECT_THAT(SchemaViolation("wireless_client_report_periods", R"({"daily": []})"), Not(IsEmpty()));
}

}  // namespace
}  // namespace test
