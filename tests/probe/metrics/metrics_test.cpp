#include "probe/metrics/metrics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"
#include "probe/metrics/exposition.h"
#include "probe/metrics/probe_families.h"
#include "probe/metrics/process_figures.h"
#include "probe/server/http/http_message.h"
#include "probe/server/web_server.h"
#include "probe/sources/snmp/device_status.h"
#include "tests/support/network.h"
#include "tests/support/test_folder.h"

namespace {

using probe::metrics::ProbeFigures;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

/// What a program prints, and its exit code behind it.
std::string OutcomeOf(const std::string& command) {
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return "cannot be started";
  std::string text;
  std::array<char, 4096> part{};
  for (std::size_t octets = 0; (octets = std::fread(part.data(), 1, part.size(), pipe)) > 0;)
    text.append(part.data(), octets);
  return text + "exit code " + std::to_string(WEXITSTATUS(pclose(pipe)));
}

/// Figures of a probe that has everything that it may have.
ProbeFigures AllFigures() {
  ProbeFigures figures;
  figures.version = "1.2.3";
  figures.last_pass = 1'795'169'400;
  figures.passes.durations.Note(20ms);
  figures.passes.late = 3;
  figures.passes.skipped = 1;
  figures.journal.emplace();
  figures.journal->entries = 7;
  figures.journal->size_octets = 4096;
  figures.journal->write_durations.Note(2ms);
  figures.uplink = {.is_connected = true, .stored = 5, .cut = 2, .waiting = 3, .waiting_bytes = 300};
  probe::snmp::DeviceStatus status;
  status.address = "192.0.2.1:161";
  status.name = "switch";
  status.mac = "02:00:00:00:00:09";
  status.health.duration = 250ms;
  status.totals.answered = 4;
  status.totals.failed = 2;
  figures.poll_durations.Note(250ms);
  figures.poll_durations.Note(250ms);
  figures.polls.assign(2, status);
  figures.polls[1].address = "192.0.2.2:161";
  return figures;
}

class MetricsTest : public ::testing::Test {
 protected:
  static probe::HttpAnswer Ask(const std::string& accept = {}) {
    const probe::metrics::Metrics metrics(probe::DeviceCentre::Instance(), nullptr, AllFigures);
    probe::HttpRequest request;
    request.accept = accept;
    return metrics.Answer(request);
  }

  test::Network network;
};

TEST_F(MetricsTest, AreAnsweredInTheFormatThatIsAskedFor) {
  const probe::HttpAnswer text = Ask();
  EXPECT_EQ(text.status, 200U);
  EXPECT_EQ(text.content_type, "text/plain; version=0.0.4; charset=utf-8");
  EXPECT_EQ(text.caching, probe::Caching::kNoStore);
  const probe::HttpAnswer open = Ask("application/openmetrics-text;version=1.0.0");
  EXPECT_EQ(open.content_type, "application/openmetrics-text; version=1.0.0; charset=utf-8");
  EXPECT_THAT(*open.body, ::testing::EndsWith("# EOF\n"));
}

TEST_F(MetricsTest, TellOfPassesJournalUplinkAndPolls) {
  probe::log::Info("a line");
  EXPECT_THAT(*Ask().body,
              AllOf(HasSubstr("vexora_build_info{version=\"1.2.3\"} 1\n"), HasSubstr("vexora_passes_late_total 3\n"),
                    HasSubstr("vexora_passes_skipped_total 1\n"), HasSubstr("vexora_pass_duration_seconds_count 1\n"),
                    HasSubstr("vexora_journal_entries_total 7\n"), HasSubstr("vexora_journal_size_bytes 4096\n"),
                    HasSubstr("vexora_journal_failing 0\n"), HasSubstr("vexora_history_ready 1\n"),
                    HasSubstr("vexora_uplink_connected 1\n"), HasSubstr("vexora_uplink_stored_total 5\n"),
                    HasSubstr("vexora_uplink_lost_total 2\n"), HasSubstr("vexora_uplink_waiting 3\n"),
                    HasSubstr("vexora_uplink_waiting_bytes 300\n"),
                    HasSubstr("vexora_snmp_polls_total{target=\"192.0.2.1:161\"} 6\n"),
                    HasSubstr("vexora_snmp_failed_polls_total{target=\"192.0.2.2:161\"} 2\n"),
                    HasSubstr("vexora_snmp_poll_duration_seconds_count 2\n"),
                    HasSubstr("vexora_snmp_last_poll_duration_seconds{target=\"192.0.2.1:161\"} 0.25\n"),
                    HasSubstr("vexora_log_lines_total{level=\"info\"} "), Not(HasSubstr("vexora_connections"))));
}

TEST_F(MetricsTest, HaveNamesAndHelpsThatTheCheckerAccepts) {
  network.Switch("02:00:00:00:00:01").Named("a\"b\\c\nd\xff").Port("ge\"1\\\n", test::Octets{1, 2}).Cpu(1).Uptime(1);
  network.AccessPoint("02:00:00:00:00:02")
      .Wireless(true)
      .HealthLevel(1)
      .SampledAt(100)
      .Radio("wlan0", vexora_probe::models::controller::WIFIBandType::k5GHz)
      .Wifi("wlan0-1", std::string("air\0\x7f\"", 6), "wlan0", test::Octets{1, 2});
  const test::TestFolder folder;
  const std::string file = folder.Write("metrics.txt", *Ask().body);

  EXPECT_EQ(OutcomeOf("promtool check metrics < " + file), "exit code 0");

  // A check that accepts everything would tell nothing.
  const std::string wrong = folder.Write("wrong.txt", "# TYPE vexora_wrong counter\nvexora_wrong 1\n");
  EXPECT_THAT(OutcomeOf("promtool check metrics < " + wrong), HasSubstr("should have \"_total\" suffix"));
}

TEST_F(MetricsTest, HaveTheNamesThatTheirDescriptionHas) {
  network.AccessPoint("02:00:00:00:00:02")
      .Wireless(true)
      .HealthLevel(1)
      .SampledAt(100)
      .Port("lan1", test::Octets{1, 2})
      .Radio("wlan0", vexora_probe::models::controller::WIFIBandType::k5GHz)
      .Wifi("wlan0-1", "Office", "wlan0", test::Octets{1, 2});
  const probe::WebServer server({}, probe::SubscriptionService::Instance());
  std::set<std::string> told;
  for (const auto& family : probe::metrics::Metrics(probe::DeviceCentre::Instance(), &server, AllFigures).Collect()) {
    told.insert(family.name);
  }
  std::set<std::string> described;
  std::ifstream document(VEXORA_OPERATING_FILE);
  for (std::string line; std::getline(document, line);) {
    if (!line.starts_with("| `vexora_")) continue;
    const std::string names = line.substr(0, line.find('|', 1));
    for (std::size_t begin = 0; (begin = names.find("`vexora_", begin)) != std::string::npos;) {
      const std::size_t end = names.find('`', begin + 1);
      described.insert(names.substr(begin + 1, end - begin - 1));
      begin = end + 1;
    }
  }
  EXPECT_EQ(told, described);
}

TEST_F(MetricsTest, HaveEachSampleOnceEvenOfNamesThatLookAlike) {
  network.Switch("02:00:00:00:00:01")
      .Port("ge\xff", test::Octets{1, 2})
      .Port("ge\xfe", test::Octets{3, 4})
      .Port(std::string(200, 'a') + "1", test::Octets{5, 6})
      .Port(std::string(200, 'a') + "2", test::Octets{7, 8});
  const std::string text = *Ask().body;
  std::set<std::string> seen;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    const std::string line = text.substr(begin, end - begin);
    if (line.starts_with('#')) continue;
    EXPECT_TRUE(seen.insert(line.substr(0, line.rfind(' '))).second) << line;
  }
  EXPECT_GT(seen.size(), 50U);
}

TEST(ProcessFigures, AreThoseOfTheKernel) {
  const auto resident = [] {
    std::ifstream statm("/proc/self/statm");
    std::uint64_t size = 0;
    std::uint64_t pages = 0;
    statm >> size >> pages;
    return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE));
  };
  const std::vector<char> block(64 * 1024 * 1024, 'x');  // so that others' few pages do not matter
  const auto figures = probe::metrics::ReadProcessFigures();
  EXPECT_NEAR(static_cast<double>(figures.resident_octets), resident(), resident() / 10);
  EXPECT_GT(figures.resident_octets, block.size());
  EXPECT_GT(figures.processor_seconds, 0);
  EXPECT_GE(figures.threads, 1U);
  ASSERT_TRUE(figures.open_files.has_value());
  EXPECT_GE(*figures.open_files, 3U);
  EXPECT_NEAR(static_cast<double>(figures.started_at), static_cast<double>(std::time(nullptr)), 300);
}

}  // namespace
