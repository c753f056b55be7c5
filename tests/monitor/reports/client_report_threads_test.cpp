#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "monitor/engine/entry_points.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitoring_manager.h"
#include "probe/clock/virtual_clock.h"
#include "probe/subscriptions/subscription_service.h"
#include "probe/tasks/memory_cleanup.h"
#include "tests/support/network.h"

namespace {

using monitoring::JsonTree;
using monitoring::Member;

constexpr time_t kStart = 1'795'046'400;  // 2026-11-19 00:00:00 UTC
constexpr const char* kDayRequest = R"({"report_type": "daily", "period": "2026-11-19"})";
constexpr const char* kWeekRequest = R"({"report_type": "weekly", "period": "2026-11-15/2026-11-21"})";
constexpr int kAccessPoints = 3;
constexpr int kClients = 8;
constexpr int kPasses = 40;
constexpr int kReaders = 4;

std::string Mac(int access_point) {
  return "AA:AA:AA:AA:AA:0" + std::to_string(access_point);
}

/// The running engine over a small wireless network, and host threads that ask for reports. Meant for ThreadSanitizer.
///
/// Every client moves an octet a second in each direction, so each row of a report that no pass was seen halfway
/// through has as many octets as seconds, and all rows have as many as each other.
class ClientReportThreads : public ::testing::Test {
 protected:
  ClientReportThreads() {
    setenv("TZ", "UTC", 1);
    tzset();
    MonitoringManager::GetInstance().set_stop_flag(false);
    for (int access_point = 0; access_point < kAccessPoints; ++access_point) {
      network.AccessPoint(Mac(access_point))
          .Radio("wlan1", vexora_probe::models::controller::WIFIBandType::k5GHz)
          .Configured("Office@BOTH", {})
          .Wifi("ath1", "Office", "wlan1", {});
    }
    Refresh(0);
    RegisterMonitors();
  }
  ~ClientReportThreads() override {
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
  }

  void Refresh(int pass) {
    for (int access_point = 0; access_point < kAccessPoints; ++access_point) {
      auto words = network.AccessPoint(Mac(access_point)).Clients("ath1", 0);
      for (int client = 0; client < kClients; ++client) {
        const auto octets = static_cast<std::uint64_t>(pass) * 60;
        words.Client("ath1", {.mac = "B0:00:00:00:0" + std::to_string(access_point) + ":0" + std::to_string(client),
                              .hostname = "",
                              .in_bytes = octets,
                              .out_bytes = octets});
      }
    }
  }

  static JsonTree Answer(char* text) {
    const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
    return JsonTree(json_tokener_parse(owned.get()));
  }

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

  /// Runs passes, and `call` again and again on each of the reader threads until they are done.
  template <typename Call>
  void DuringPasses(Call call, int seconds_apart = 60) {
    std::atomic<bool> is_over{false};
    std::vector<std::atomic<int>> calls(kReaders);
    std::vector<std::jthread> readers;
    for (int reader = 0; reader < kReaders; ++reader) {
      readers.emplace_back([&, reader] {
        for (; !is_over; ++calls[static_cast<std::size_t>(reader)]) call();
      });
    }
    for (const auto& count : calls) {
      while (count == 0) std::this_thread::yield();
    }
    for (int pass = 1; pass <= kPasses; ++pass) {
      Refresh(pass);
      clock.RunPass(kStart + static_cast<time_t>(pass) * seconds_apart);
    }
    is_over = true;
  }

  probe::VirtualClock clock{kStart};
  probe::ClockInstallation installation{clock};
  test::Network network;
};

TEST_F(ClientReportThreads, ReadBothEntryPointsFromFourThreadsDuringPasses) {
  std::atomic<int> torn{0};
  std::atomic<int> with_rows{0};
  DuringPasses([&] {
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
  ASSERT_EQ(json_object_array_length(rows), static_cast<std::size_t>(kAccessPoints * kClients));
  EXPECT_EQ(json_object_get_int64(Member(json_object_array_get_idx(rows, 0), "upload")), (kPasses - 1) * 60);
}

TEST_F(ClientReportThreads, ReadThePeriodsWhileDaysAndWeeksComeAndGo) {
  constexpr int kDaySeconds = 86'400;  // so that all passes together open 40 days and seven weeks
  std::atomic<int> torn{0};
  DuringPasses(
      [&] {
        const JsonTree periods = Answer(get_wireless_client_report_avail_list(nullptr));
        if (!AreInOrder(periods, "daily", 7) || !AreInOrder(periods, "weekly", 4)) ++torn;
      },
      kDaySeconds);
  EXPECT_EQ(torn, 0);
  const JsonTree periods = Answer(get_wireless_client_report_avail_list(nullptr));
  EXPECT_EQ(json_object_array_length(Member(periods.get(), "daily")), 7U);
  EXPECT_EQ(json_object_array_length(Member(periods.get(), "weekly")), 4U);
}

TEST_F(ClientReportThreads, ReadWhileDevicesAreCleanedUp) {
  DuringPasses([&] {
    probe::CleanUpDevice(Mac(0));
    Answer(get_wireless_client_report(kDayRequest));
  });
  const JsonTree report = Answer(get_wireless_client_report(kDayRequest));
  EXPECT_EQ(json_object_array_length(Member(report.get(), "wireless_clients")),
            static_cast<std::size_t>(kAccessPoints * kClients));
}

TEST_F(ClientReportThreads, StopWhileReportsAreRead) {
  clock.RunPass(kStart + 60);
  std::atomic<bool> is_over{false};
  std::atomic<int> calls{0};
  std::vector<std::jthread> readers;
  for (int reader = 0; reader < kReaders; ++reader) {
    readers.emplace_back([&] {
      for (; !is_over; ++calls) {
        Answer(get_wireless_client_report(kWeekRequest));
        Answer(get_wireless_client_report_avail_list(""));
      }
    });
  }
  while (calls < 10) std::this_thread::yield();
  stop_monitor();
  is_over = true;
  readers.clear();
  EXPECT_FALSE(monitoring::HasMembers(Answer(get_wireless_client_report(kWeekRequest))));  // "{}"
}

}  // namespace
