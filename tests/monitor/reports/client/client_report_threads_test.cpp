#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>

#include "monitor/engine/entry_points.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/time_keys.h"
#include "platform/device_records.h"
#include "probe/host/memory_cleanup.h"
#include "tests/support/local_time.h"
#include "tests/support/network.h"
#include "tests/support/running_engine.h"
#include "tests/support/taken_text.h"

namespace {

using monitoring::JsonTree;
using monitoring::Member;
using test::DeviceMac;
using test::kDeviceCount;
using test::RunningEngine;

constexpr const char* kDayRequest = R"({"report_type": "daily", "period": "2026-11-21"})";
constexpr const char* kWeekRequest = R"({"report_type": "weekly", "period": "2026-11-15/2026-11-21"})";
constexpr int kClients = 8;  // an access point
constexpr int kReaders = 4;

/// Every client moves an octet a second in each direction, so each row of a report that no pass was seen halfway
/// through has as many octets as seconds, and all rows have as many as each other.
void Refresh(test::Network& network, int pass) {
  const auto octets = static_cast<std::uint64_t>(pass) * 60;
  for (int device = 0; device < kDeviceCount; ++device) {
    auto access_point = network.AccessPoint(DeviceMac(device));
    access_point.Radio("wlan1", vexora_probe::models::controller::WIFIBandType::k5GHz)
        .Configured("Office@BOTH", {})
        .Wifi("ath1", "Office", "wlan1", {})
        .Clients("ath1", 0);
    for (int client = 0; client < kClients; ++client) {
      access_point.Client("ath1", {.mac = "B0:00:00:00:0" + std::to_string(device) + ":0" + std::to_string(client),
                                   .hostname = "",
                                   .in_bytes = octets,
                                   .out_bytes = octets});
    }
  }
}

class ClientReportThreads : public ::testing::Test {
 protected:
  static JsonTree Answer(char* text) { return JsonTree(json_tokener_parse(test::TakenText(text).c_str())); }

  /// Whether the rows of a report are those of one moment between two passes.
  static bool IsOfOneMoment(const JsonTree& report) {
    json_object* rows = Member(report.get(), "wireless_clients");
    std::set<std::int64_t> figures;
    for (std::size_t row = 0; row < json_object_array_length(rows); ++row) {
      for (const char* key : {"time_online", "upload", "download"}) {
        figures.insert(json_object_get_int64(Member(json_object_array_get_idx(rows, row), key)));
      }
    }
    return figures.size() <= 1;
  }

  /// Whether the periods of one kind are listed newest first, each once, and are no more than are kept.
  static bool AreInOrder(const JsonTree& periods, const char* kind, std::size_t limit) {
    json_object* keys = Member(periods.get(), kind);
    if (keys == nullptr || json_object_array_length(keys) > limit) return false;
    for (std::size_t i = 1; i < json_object_array_length(keys); ++i) {
      const std::string newer = monitoring::TextOf(json_object_array_get_idx(keys, i - 1));
      if (newer <= monitoring::TextOf(json_object_array_get_idx(keys, i))) return false;
    }
    return true;
  }

  test::LocalZone zone{"UTC"};
  RunningEngine engine{&Refresh};
};

TEST_F(ClientReportThreads, ReadBothEntryPointsFromFourThreadsDuringPasses) {
  std::atomic<int> torn{0};
  std::atomic<int> with_rows{0};
  engine.DuringPasses(kReaders, [&] {
    const JsonTree periods = Answer(get_wireless_client_report_avail_list(nullptr));
    if (Member(periods.get(), "weekly") == nullptr) ++torn;
    for (const char* request : {kDayRequest, kWeekRequest}) {
      const JsonTree report = Answer(get_wireless_client_report(request));
      if (!IsOfOneMoment(report)) ++torn;
      if (json_object_array_length(Member(report.get(), "wireless_clients")) != 0) ++with_rows;
    }
  });
  EXPECT_EQ(torn, 0);
  EXPECT_GT(with_rows, 0);
  const JsonTree report = Answer(get_wireless_client_report(kDayRequest));
  json_object* rows = Member(report.get(), "wireless_clients");
  ASSERT_EQ(json_object_array_length(rows), static_cast<std::size_t>(kDeviceCount * kClients));
  EXPECT_EQ(json_object_get_int64(Member(json_object_array_get_idx(rows, 0), "upload")),
            (RunningEngine::kPasses - 1) * 60);
}

TEST_F(ClientReportThreads, ReadThePeriodsWhileDaysAndWeeksComeAndGo) {
  constexpr int kDaySeconds = 86'400;  // so that all passes together open 40 days and seven weeks
  std::atomic<int> torn{0};
  const auto read = [&] {
    const JsonTree periods = Answer(get_wireless_client_report_avail_list(nullptr));
    if (!AreInOrder(periods, "daily", 7) || !AreInOrder(periods, "weekly", 4)) ++torn;
  };
  engine.DuringPasses(kReaders, read, {.seconds_apart = kDaySeconds});
  EXPECT_EQ(torn, 0);
  const JsonTree periods = Answer(get_wireless_client_report_avail_list(nullptr));
  EXPECT_EQ(json_object_array_length(Member(periods.get(), "daily")), 7U);
  EXPECT_EQ(json_object_array_length(Member(periods.get(), "weekly")), 4U);
}

TEST_F(ClientReportThreads, ReadWhileDevicesAreCleanedUp) {
  engine.DuringPasses(kReaders, [&] {
    probe::CleanUpDevice(DeviceMac(0));
    Answer(get_wireless_client_report(kDayRequest));
  });
  const JsonTree report = Answer(get_wireless_client_report(kDayRequest));
  EXPECT_EQ(json_object_array_length(Member(report.get(), "wireless_clients")),
            static_cast<std::size_t>(kDeviceCount * kClients));
}

TEST_F(ClientReportThreads, StopWhileReportsAreRead) {
  engine.StopWhile([] {
    Answer(get_wireless_client_report(kWeekRequest));
    Answer(get_wireless_client_report_avail_list(""));
  });
  EXPECT_FALSE(monitoring::HasMembers(Answer(get_wireless_client_report(kWeekRequest))));  // "{}"
}

}  // namespace
