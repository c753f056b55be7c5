#include "monitor/engine/entry_points.h"
#include "probe/clock/clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "monitor/engine/constants.h"
#include "monitor/engine/monitoring_manager.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "tests/support/log_capture.h"
#include "tests/support/network.h"
#include "tests/support/taken_text.h"

namespace {

using probe::log::Level;
using test::TakenText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Newest = std::map<std::string, unsigned long long>;

constexpr time_t kStart = 1'795'219'200;
constexpr const char* kSwitch = "AA:AA:AA:AA:AA:01";

/// A report monitor that answers with what it was asked for.
class EchoReport final : public Monitor {
 public:
  explicit EchoReport(std::string name) : name_(std::move(name)) {}
  std::string GetMonitorName() override { return name_; }
  std::string GetAvailableTypePeriod() override { return name_ + " periods"; }
  std::string GetWirelessReport(const std::string& report_type, const std::string& period) override {
    return name_ + " [" + report_type + "] [" + period + "]";
  }
  void MergeDataForInterval() override {}
  void MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/, int /*count*/,
                              int /*minutes*/) override {}

 private:
  std::string name_;
};

class EntryPointsTest : public ::testing::Test {
 protected:
  EntryPointsTest() { MonitoringManager::GetInstance().set_stop_flag(false); }
  ~EntryPointsTest() override {
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
  }

  static void RegisterReport(const char* name) {
    MonitoringManager::GetInstance().RegisterMonitor(std::make_shared<EchoReport>(name));
  }

  probe::VirtualClock clock{kStart};
  probe::ClockInstallation installation{clock};
  test::Network network;
};

TEST_F(EntryPointsTest, AnswerWithAnEmptyObjectBeforeTheMonitorsAreRegistered) {
  EXPECT_EQ(TakenText(get_wireless_client_report_avail_list("")), "{}");
  EXPECT_EQ(TakenText(get_wireless_network_report_avail_list(nullptr)), "{}");
  EXPECT_EQ(TakenText(get_wireless_client_report(R"({"report_type": "daily"})")), "{}");
  EXPECT_EQ(TakenText(get_wireless_network_report(nullptr)), "{}");
}

TEST_F(EntryPointsTest, AnswerWithAnEmptyObjectAfterTheStop) {
  RegisterReport(monitoring::kWirelessNetworkReport);
  RegisterMonitors();
  clock.AwaitSleeper();
  stop_monitor();
  EXPECT_EQ(TakenText(get_wireless_network_report_avail_list("")), "{}");
  EXPECT_EQ(TakenText(get_wireless_network_report("{}")), "{}");
}

TEST_F(EntryPointsTest, AskEachReportMonitorForItsPeriods) {
  RegisterReport(monitoring::kWirelessClientReport);
  RegisterReport(monitoring::kWirelessNetworkReport);
  EXPECT_EQ(TakenText(get_wireless_client_report_avail_list("ignored")), "wireless_client_report periods");
  EXPECT_EQ(TakenText(get_wireless_network_report_avail_list(nullptr)), "wireless_network_report periods");
}

TEST_F(EntryPointsTest, PassTypeAndPeriodOn) {
  RegisterReport(monitoring::kWirelessClientReport);
  RegisterReport(monitoring::kWirelessNetworkReport);
  const char* request = R"({"report_type": "daily", "period": "2026-11-15", "other": 1})";
  EXPECT_EQ(TakenText(get_wireless_client_report(request)), "wireless_client_report [daily] [2026-11-15]");
  EXPECT_EQ(TakenText(get_wireless_network_report(request)), "wireless_network_report [daily] [2026-11-15]");
}

TEST_F(EntryPointsTest, AskWithEmptyTypeAndPeriodForARequestWithoutKeys) {
  RegisterReport(monitoring::kWirelessClientReport);
  EXPECT_EQ(TakenText(get_wireless_client_report("{}")), "wireless_client_report [] []");
}

TEST_F(EntryPointsTest, AskWithEmptyTypeAndPeriodForARequestThatDoesNotParse) {
  RegisterReport(monitoring::kWirelessClientReport);
  for (const char* request : {R"({"report_type": "daily")", "", "daily", "[1]", "null"}) {
    EXPECT_EQ(TakenText(get_wireless_client_report(request)), "wireless_client_report [] []") << request;
  }
  EXPECT_EQ(TakenText(get_wireless_client_report(nullptr)), "wireless_client_report [] []");
}

TEST_F(EntryPointsTest, TakeWhatIsNoTextAsEmpty) {
  RegisterReport(monitoring::kWirelessClientReport);
  EXPECT_EQ(TakenText(get_wireless_client_report(R"({"report_type": 7, "period": null})")),
            "wireless_client_report [] []");
}

TEST_F(EntryPointsTest, RegisterMonitorsAnswersOneAndStartsTheEngine) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  EXPECT_EQ(RegisterMonitors(), 1);
  for (const char* name : {"TrafficMonitor", "wireless_top_monitor"}) {
    EXPECT_NE(MonitoringManager::GetInstance().GetMonitor(name), nullptr) << name;
    EXPECT_TRUE(probe::SubscriptionService::Instance().Parse(name, nullptr).has_value()) << name << " is fed";
  }
  clock.RunPass(kStart + 60);
  Newest out;
  GetInterfaceTraffic(kSwitch, "ge1", out);
  EXPECT_EQ(out, (Newest{{"input", 0}, {"output", 0}}));
}

TEST_F(EntryPointsTest, RegisterMonitorsBringsTheWirelessClientReport) {
  RegisterMonitors();
  EXPECT_EQ(TakenText(get_wireless_client_report_avail_list(nullptr)), R"({ "daily": [ ], "weekly": [ ] })");
  EXPECT_EQ(TakenText(get_wireless_client_report(R"({"report_type": "daily", "period": "2026-11-15"})")),
            R"({ "wireless_clients": [ ], "wireless_guests": [ ], "expire": true })");
  EXPECT_EQ(TakenText(get_wireless_client_report("{}")), R"({ "wireless_clients": [ ], "wireless_guests": [ ] })");
}

TEST_F(EntryPointsTest, ASecondRegistrationKeepsTheFirstMonitorsAndLogsTheRefusedTask) {
  RegisterMonitors();
  const auto first = MonitoringManager::GetInstance().GetMonitor("TrafficMonitor");
  const test::LogCapture log;
  EXPECT_EQ(RegisterMonitors(), 1);
  EXPECT_EQ(MonitoringManager::GetInstance().GetMonitor("TrafficMonitor"), first);
  EXPECT_THAT(log.Texts(Level::kError),
              ElementsAre("[MonitoringManager::startMonitorEngine] Add monitor merge task failed"));
}

TEST_F(EntryPointsTest, TheRegisteredCleanUpFunctionReachesTheMonitors) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  RegisterMonitors();
  clock.RunPass(kStart + 60);
  probe::CleanUpDevice(kSwitch);
  Newest out;
  GetInterfaceTraffic(kSwitch, "ge1", out);
  EXPECT_THAT(out, IsEmpty());
}

TEST_F(EntryPointsTest, GetInterfaceTrafficGivesTheNewestSpeed) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  RegisterMonitors();
  clock.RunPass(kStart + 60);
  network.Switch(kSwitch).Port("ge1", {6'000, 600}).SampledAt(kStart + 60);
  clock.RunPass(kStart + 120);
  Newest out{{"input", 1}, {"kept", 2}};
  GetInterfaceTraffic(kSwitch, "ge1", out);
  EXPECT_EQ(out, (Newest{{"input", 100}, {"kept", 2}, {"output", 10}}));
}

TEST_F(EntryPointsTest, GetInterfaceTrafficLeavesTheMapAloneForAnUnknownInterfaceOrDevice) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).SampledAt(kStart);
  RegisterMonitors();
  clock.RunPass(kStart + 60);
  Newest out{{"input", 7}};
  GetInterfaceTraffic(kSwitch, "ge2", out);
  GetInterfaceTraffic("AA:AA:AA:AA:AA:02", "ge1", out);
  EXPECT_EQ(out, (Newest{{"input", 7}}));
}

TEST_F(EntryPointsTest, GetInterfaceTrafficLeavesTheMapAloneBeforeTheMonitorIsRegistered) {
  Newest out{{"input", 7}};
  GetInterfaceTraffic(kSwitch, "ge1", out);
  EXPECT_EQ(out, (Newest{{"input", 7}}));
}

TEST_F(EntryPointsTest, GetInterfaceTrafficLeavesTheMapAloneWhenAnotherMonitorHasTheName) {
  RegisterReport(monitoring::kTrafficMonitor);
  Newest out{{"input", 7}};
  GetInterfaceTraffic(kSwitch, "ge1", out);
  EXPECT_EQ(out, (Newest{{"input", 7}}));
}

}  // namespace
