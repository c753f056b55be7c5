#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "monitor/engine/entry_points.h"
#include "monitor/reports/network/network_records.h"
#include "platform/device_records.h"
#include "probe/host/log.h"
#include "tests/support/local_time.h"
#include "tests/support/network.h"
#include "tests/support/running_engine.h"
#include "tests/support/taken_text.h"

namespace {

namespace records = vexora_probe::models::controller;

using test::kDeviceCount;
using test::RunningEngine;
using test::TakenText;

void Refresh(test::Network& network, int pass) {
  for (int number = 0; number < kDeviceCount; ++number) {
    auto device = network.AccessPoint(test::DeviceMac(number));
    const auto octets = static_cast<std::uint64_t>(pass) * 6'000;
    device.Named("ap").Radio("r", records::WIFIBandType::k5GHz).Wifi("w", "Office", "r", {octets, octets});
    device.Configured("Office@BOTH", {.name = "Office"}).Clients("w", number).Platform("M", "1");
    device.Neighbours({{.mac = "BB", .ssid = "rogue", .signal = -60}});
  }
}

class NetworkReportThreads : public ::testing::Test {
 protected:
  NetworkReportThreads() {
    probe::log::SetWriter([](auto...) {});  // every report logs who has heard whom
  }
  ~NetworkReportThreads() override { probe::log::SetWriter({}); }

  test::LocalZone zone{"UTC"};
  RunningEngine engine{&Refresh};
};

TEST_F(NetworkReportThreads, AreReadByFourHostThreadsDuringPasses) {
  std::atomic<int> filled{0};
  const auto read = [&] {
    const std::string report =
        TakenText(get_wireless_network_report(R"({"report_type": "daily", "period": "2026-11-21"})"));
    TakenText(get_wireless_network_report_avail_list(nullptr));
    if (report.find("Office") != std::string::npos) ++filled;
    if (vexora_probe::monitor::SampleCountCurrentTime < 0) ADD_FAILURE();
  };
  engine.DuringPasses(4, read, {.count = 60});
  EXPECT_GT(filled, 0);
}

}  // namespace
