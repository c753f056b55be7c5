// Runs the plug-in through weeks of passes on a network whose devices and clients come and go, and looks at what it
// keeps at each week's end: from the seventh week on, when every history and report is full, that stays the same within
// a hundredth, but for what has to stay of each removed device (kept_for_ever.h). Exit status 0: it does.
//
//   soak WEEKS

#include <json-c/json.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "monitor/engine/entry_points.h"
#include "platform/topics.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/log.h"
#include "probe/host/sending.h"
#include "probe/host/subscription_service.h"
#include "probe/text/json_c_handle.h"
#include "tests/soak/kept_for_ever.h"
#include "tests/soak/soak_network.h"

namespace {

constexpr time_t kMinute = 60;
constexpr time_t kDay = 24 * 60 * kMinute;
constexpr int kWeeksUntilFull = 6;  // histories of 31 days, reports of four weeks and the one that runs
constexpr double kMayDiffer = 0.01;
constexpr const char* kTunables = "GLIBC_TUNABLES";
constexpr const char* kIsStartedAgain = "VEXORA_SOAK_IS_STARTED_AGAIN";
constexpr time_t kMonday = 1'767'571'200;  // 2026-01-05 00:00 UTC

/// Takes each report on offer, as somebody does who opens the pages.
void ReadReports(char* (*offered)(const char*), char* (*report)(const char*)) {
  const std::unique_ptr<char, decltype(&std::free)> text(offered(""), &std::free);
  const probe::JsonCHandle types(json_tokener_parse(text.get()));
  json_object_object_foreach(types.get(), type, periods) {
    for (std::size_t at = 0; at < json_object_array_length(periods); ++at) {
      const std::string period = json_object_get_string(json_object_array_get_idx(periods, at));
      const std::string request = R"({"report_type": ")" + std::string(type) + R"(", "period": ")" + period + "\"}";
      std::free(report(request.c_str()));
    }
  }
}

/// Somebody watches the traffic of a day, so that messages are made; nobody keeps them.
void Subscribe() {
  auto& service = probe::SubscriptionService::Instance();
  const probe::JsonCHandle request(json_tokener_parse(R"([{"sid": "a", "filter": {"interval": "1day"}}])"));
  service.File(monitoring::kTrafficMonitor, probe::ConnectionId{1},
               *service.Parse(monitoring::kTrafficMonitor, request.get()));
}

/// What is live at the end of a week.
struct Live {
  std::size_t bytes = 0;
  std::size_t kept_for_ever = 0;  // of these, that of removed devices
};

class Soak {
 public:
  Soak() {
    setenv("TZ", "UTC", 1);  // NOLINT(concurrency-mt-unsafe): before the engine's thread
    probe::log::SetWriter([](probe::log::Level, int, const std::string&) {});
    probe::InstallSendFunction([](lws*, const std::string&) {});
    RegisterMonitors();
    Subscribe();
    clock_.AwaitSleeper();
  }

  ~Soak() {
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
    probe::InstallSendFunction(nullptr);
  }
  Soak(const Soak&) = delete;
  Soak& operator=(const Soak&) = delete;

  Live RunWeek() {
    for (const time_t end = now_ + 7 * kDay; now_ < end;) {
      now_ += kMinute;
      network_.Report(now_);
      clock_.RunPass(now_);
      if (now_ % kDay != 0) continue;
      ReadReports(&get_wireless_client_report_avail_list, &get_wireless_client_report);
      ReadReports(&get_wireless_network_report_avail_list, &get_wireless_network_report);
    }
    const Live live{.bytes = soak::LiveBytes(), .kept_for_ever = kept_.Bytes()};
    network_.Churn();
    return live;
  }

 private:
  time_t now_ = kMonday;
  probe::VirtualClock clock_{kMonday};
  probe::ClockInstallation installation_{clock_};
  soak::Network network_;
  soak::KeptForEver kept_{network_};
};

bool StaysTheSame(int weeks) {
  std::size_t least = SIZE_MAX;
  std::size_t most = 0;
  Soak soak;
  for (int week = 1; week <= weeks; ++week) {
    const Live live = soak.RunWeek();
    const std::size_t rest = live.bytes - live.kept_for_ever;
    std::printf("week %3d: %zu bytes live, %zu of them of removed devices for ever, %zu without these\n", week,
                live.bytes, live.kept_for_ever, rest);
    std::fflush(stdout);
    if (week <= kWeeksUntilFull) continue;
    least = std::min(least, rest);
    most = std::max(most, rest);
  }
  if (weeks <= kWeeksUntilFull + 1) return true;
  const double differs = static_cast<double>(most - least) / static_cast<double>(least);
  std::printf("from week %d on the last figures differ by %.2f %%; %.0f %% is allowed\n", kWeeksUntilFull + 1,
              differs * 100, kMayDiffer * 100);
  return differs <= kMayDiffer;
}

}  // namespace

int main(int argc, char** argv) {
  // What the allocator keeps ready for each thread counts as taken, and would hide a change of the size of a percent.
  // NOLINTBEGIN(concurrency-mt-unsafe): no other thread yet
  const char* const tunables = std::getenv(kTunables);
  const std::string wanted = (tunables == nullptr ? "" : std::string(tunables) + ":") + "glibc.malloc.tcache_count=0";
  if (std::getenv(kIsStartedAgain) == nullptr) {
    setenv(kTunables, wanted.c_str(), 1);
    setenv(kIsStartedAgain, "1", 1);
    // NOLINTEND(concurrency-mt-unsafe)
    execv("/proc/self/exe", argv);
    std::perror("soak: cannot start again");
    return 2;
  }
  const int weeks = argc == 2 ? std::atoi(argv[1]) : 0;  // NOLINT(cert-err34-c): 0 is refused like any nonsense
  if (weeks < 1) {
    std::fprintf(stderr, "usage: soak WEEKS\n");
    return 2;
  }
  return StaysTheSame(weeks) ? EXIT_SUCCESS : EXIT_FAILURE;
}
