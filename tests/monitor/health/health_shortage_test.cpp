#include <gmock/gmock.h>

#include "tests/monitor/health/health_fixture.h"
#include "tests/support/shortage/json_shortage.h"

namespace {

using probe::log::Level;
using test::JsonShortage;
using test::kAccessPoint;
using test::LogCapture;
using ::testing::ElementsAre;

class HealthShortage : public test::HealthMonitorTest {
 protected:
  HealthShortage() {
    network.AccessPoint(kAccessPoint).Cpu(5);
    Pass();
  }
};

TEST_F(HealthShortage, OfTheListOfDevicesGivesAnEmptyMessageAndSaysSo) {
  const LogCapture log;
  const JsonShortage shortage(JsonShortage::Of::kArrays);
  EXPECT_EQ(Message(), "");
  EXPECT_THAT(log.Lines(),
              ElementsAre(test::LogLine{Level::kError, 2, "[HealthMonitor::GenerateJsonMsg] Allocate JSON failed"}));
}

TEST_F(HealthShortage, SendsTheEmptyMessage) {
  test::MessageCapture messages;
  const JsonShortage shortage(JsonShortage::Of::kArrays);
  monitor.PushDataBySID({{"a", {{test::Connection(1), test::FilterOf("")}}}});
  EXPECT_THAT(messages.Take(), ElementsAre(test::SentMessage{test::Connection(1), ""}));
}

TEST_F(HealthShortage, OfOneDeviceLeavesOutOnlyThat) {
  network.AccessPoint(test::kSwitch).Cpu(6);
  Pass();
  ASSERT_EQ(Devices().size(), 2U);
  const JsonShortage shortage(JsonShortage::Of::kObjects);
  const nlohmann::json devices = Devices();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices.at(0).at("device"), test::kSwitch);
}

TEST_F(HealthShortage, OfOneFigureLeavesOutOnlyThat) {
  const char* const members[] = {"actual_cpu", "uptime", "notification", "clients", "rogue_aps"};
  int before = 1;  // the device object itself
  for (const char* member : members) {
    nlohmann::json expected = DeviceOf(kAccessPoint);
    expected.erase(member);
    const JsonShortage shortage(JsonShortage::Of::kObjects, before++);
    EXPECT_EQ(DeviceOf(kAccessPoint), expected) << member;
  }
}

}  // namespace
