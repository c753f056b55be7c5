// What docs/operating.md says that a network takes, and what a probe that watches one really takes: by the system's
// count, and by its own.

#include <gtest/gtest.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv is the system's
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "probe/host/device_centre.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/journal_writer.h"
#include "probe/sources/simulated/simulated_network.h"
#include "tests/probe/app/probe_process.h"
#include "tests/probe/metrics/http_get.h"
#include "tests/support/test_folder.h"

namespace {

constexpr time_t kEnd = 1'795'187'700;  // 2026-11-20 15:15 UTC, a Friday: people are in the house
constexpr int kMinute = 60;
constexpr int kDay = 86'400;
constexpr int kDays = 62;  // until the longest history is full

/// Devices and wireless clients.
struct Size {
  int devices = 0;
  int clients = 0;
};

/// The journal of a network that has been watched for two months: a pass a day, and one a minute of the last.
void WriteJournal(const std::string& folder, const Size& size) {
  constexpr time_t kLastDay = kEnd - kDay;
  constexpr time_t kStart = kLastDay - time_t{kDays} * kDay;
  probe::DeviceCentre centre;
  probe::SimulatedNetwork network(centre, {.seed = 1, .devices = size.devices, .clients = size.clients});
  probe::journal::JournalWriter writer(std::make_unique<probe::journal::JournalFolder>(folder), {}, {.days = 2 * kDays},
                                       centre, {kStart - kMinute, true, "UTC", ""});
  const auto pass = [&](time_t at) {
    network.Advance(at);
    writer.OnPassBegins(at);
    writer.OnPassEnds();
    writer.Flush();
  };
  for (time_t at = kStart; at < kLastDay; at += kDay) pass(at);
  for (time_t at = kLastDay; at <= kEnd; at += kMinute) pass(at);
}

/// Octets of the row of the table whose first cell begins so: "| a wireless client | 4.1 kB |". 0 when there is none.
double Row(const std::string& begin) {
  std::ifstream file(VEXORA_OPERATING_FILE);
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with("| " + begin)) continue;
    std::istringstream cell(line.substr(line.find('|', 1) + 1));
    double number = 0;
    std::string unit;
    cell >> number >> unit;
    if (unit.starts_with("kB")) return number * 1e3;
    if (unit.starts_with("MB")) return number * 1e6;
    return 0;
  }
  return 0;
}

/// A probe that has replayed the journal of a network.
class FullProbe {
 public:
  explicit FullProbe(const Size& size) : clients_(static_cast<std::size_t>(size.clients)) {
    WriteJournal(folder_.Path("journal-simulated"), size);
    const std::string file = folder_.Write(
        "probe.toml", "[server]\nport = 0\n[journal]\nenabled = true\ndays = " + std::to_string(2 * kDays) +
                          "\nstate_directory = \"" + folder_.Path("") + "\"\n");
    // At another pace than life's it goes on when the journal ends. The first pass is half a minute away.
    probe_ = std::make_unique<test::ProbeProcess>(
        std::vector<std::string>{"--config", file, "--simulated", "--speed", "2", "--devices",
                                 std::to_string(size.devices), "--clients", std::to_string(size.clients)},
        test::ProbeProcess::Journal::kAsConfigured);
    const int port = probe_->AwaitPort();
    EXPECT_TRUE(probe_->AwaitOutput("the journal has been replayed")) << probe_->output();
    metrics_ = test::HttpGet(port, "/metrics").body;
    real_ = OctetsOf("VmRSS:");
    peak_ = OctetsOf("VmHWM:");
  }

  ~FullProbe() {
    probe_->Signal(SIGTERM);
    EXPECT_EQ(probe_->AwaitExit(), 0) << probe_->output();
  }
  FullProbe(const FullProbe&) = delete;
  FullProbe& operator=(const FullProbe&) = delete;

  /// By the system's count.
  double real() const { return real_; }
  double peak() const { return peak_; }

  /// By its own.
  double told() const {
    const std::string name = "\nvexora_process_resident_memory_bytes ";
    const std::size_t at = metrics_.find(name);
    return at == std::string::npos ? 0 : std::strtod(metrics_.c_str() + at + name.size(), nullptr);
  }

  /// By the table, from what the probe says that there is.
  double computed() const {
    std::size_t interfaces = 0;
    std::size_t networks = 0;
    std::set<std::string> access_points;
    std::istringstream lines(metrics_);
    for (std::string line; std::getline(lines, line);) {
      interfaces += line.starts_with("vexora_interface_oper_status{") ? 1U : 0U;
      networks += line.starts_with("vexora_ssid_info{") ? 1U : 0U;
      if (line.starts_with("vexora_radio_info{")) access_points.insert(line.substr(0, line.find(',')));
    }
    EXPECT_GT(access_points.size(), 0U) << metrics_;
    EXPECT_GT(networks, access_points.size());
    EXPECT_GT(interfaces, networks);
    const auto times = [](std::size_t count, double octets) { return static_cast<double>(count) * octets; };
    return Row("the process") + times(interfaces, Row("an interface")) +
           times(access_points.size(), Row("an access point")) + times(networks, Row("a network on a band")) +
           times(clients_, Row("a wireless client"));
  }

 private:
  /// A figure of /proc/PID/status.
  double OctetsOf(const std::string& name) const {
    std::ifstream status("/proc/" + std::to_string(probe_->pid()) + "/status");
    for (std::string word; status >> word;) {
      double kibibytes = 0;
      if (word == name && status >> kibibytes) return kibibytes * 1024;
    }
    return 0;
  }

  std::size_t clients_;
  test::TestFolder folder_;
  std::unique_ptr<test::ProbeProcess> probe_;
  std::string metrics_;
  double real_ = 0;
  double peak_ = 0;
};

class Sizing : public ::testing::TestWithParam<Size> {
 protected:
  Sizing() {
    setenv("TZ", "UTC", 1);  // NOLINT(concurrency-mt-unsafe): before any thread
    tzset();
  }
};

TEST_P(Sizing, OfTheDocumentIsWhatTheProcessTakes) {
  for (const char* const row :
       {"the process", "an interface", "an access point", "a network on a band", "a wireless client"}) {
    ASSERT_GT(Row(row), 0) << row;
  }
  const FullProbe probe(GetParam());
  RecordProperty("computed_kB", static_cast<int>(probe.computed() / 1e3));
  RecordProperty("real_kB", static_cast<int>(probe.real() / 1e3));
  RecordProperty("peak_kB", static_cast<int>(probe.peak() / 1e3));
  EXPECT_NEAR(probe.computed(), probe.real(), probe.real() / 10);
  EXPECT_NEAR(probe.told(), probe.real(), probe.real() / 10);
  // Nor does it take much more while it replays the journal.
  EXPECT_LT(probe.peak(), probe.real() * 4 / 3);
}

INSTANTIATE_TEST_SUITE_P(ASmallAndALargeNetwork, Sizing,
                         ::testing::Values(Size{.devices = 50, .clients = 1'000},
                                           Size{.devices = 120, .clients = 2'400}));

}  // namespace
