// A real Prometheus scrapes a probe on a simulated network, and answers what the Grafana dashboard asks it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/probe/app/probe_process.h"
#include "tests/probe/metrics/http_get.h"
#include "tests/probe/metrics/prometheus_process.h"
#include "tests/support/test_folder.h"

namespace {

using nlohmann::json;
using test::HttpGet;
using test::HttpResult;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

constexpr const char* kToken = "a-token-of-more-than-32-octets-for-it";
const std::string kAuthorization = std::string("Authorization: Bearer ") + kToken + "\r\n";

/// A probe at sixty times the pace of life, with a journal, one that polls a device, which does not answer, and a
/// Prometheus that scrapes both.
class Scraped : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = std::make_unique<test::TestFolder>();
    StartProbe();
    StartPrometheus();
  }

  // Here, for tests of a suite that cannot be set up are skipped, and nobody would notice.
  void SetUp() override {
    ASSERT_NE(probe_port_, 0) << probe_->output();
    ASSERT_NE(polling_port_, 0) << polling_probe_->output();
    ASSERT_NE(prometheus_port_, 0) << prometheus_->output();
  }

  static void TearDownTestSuite() {
    const std::string output = End(prometheus_);
    EXPECT_THAT(output, HasSubstr("exiting gracefully"));
    EXPECT_THAT(output, ::testing::Not(::testing::ContainsRegex("level=(warn|error) component=.scrape manager")));
    End(polling_probe_);
    End(probe_);
    folder_.reset();
  }

  template <typename Process>
  static std::string End(std::unique_ptr<Process>& process) {
    if (process == nullptr) return {};
    process->Signal(SIGTERM);
    EXPECT_EQ(process->AwaitExit(), 0) << process->output();
    const std::string output = process->output();
    process.reset();
    return output;
  }

  static void StartProbe() {
    const std::string token = folder_->Write("token", kToken);
    chmod(token.c_str(), S_IRUSR | S_IWUSR);
    const std::string server = "[server]\nport = 0\ntoken_file = \"" + token + "\"\n";
    const std::string simulated = folder_->Write(
        "simulated.toml", server + "[journal]\nenabled = true\nstate_directory = \"" + folder_->Path("state") + "\"\n");
    probe_ = std::make_unique<test::ProbeProcess>(
        std::vector<std::string>{"--config", simulated, "--simulated", "--speed", "60"},
        test::ProbeProcess::Journal::kAsConfigured);
    probe_port_ = probe_->AwaitPort();
    const std::string polling = folder_->Write(
        "polling.toml", server +
                            "[sources.this_machine]\nenabled = false\n[[sources.snmp.devices]]\naddress = "
                            "\"127.0.0.1:9\"\ncommunity = \"public\"\nname = \"hall\"\ninterval_seconds = 5\n");
    polling_probe_ = std::make_unique<test::ProbeProcess>(std::vector<std::string>{"--config", polling});
    polling_port_ = polling_probe_->AwaitPort();
  }

  static void StartPrometheus() {
    const std::string file =
        folder_->Write("prometheus.yml",
                       "global: {scrape_interval: 5s}\nscrape_configs:\n- job_name: vexora\n  authorization: "
                       "{credentials: " +
                           std::string(kToken) + "}\n  static_configs: [{targets: [\"" + Instance(probe_port_) +
                           "\", \"" + Instance(polling_port_) + "\"]}]\n");
    prometheus_ = std::make_unique<test::PrometheusProcess>(file, folder_->Path("data"));
    prometheus_port_ = prometheus_->AwaitPort();
  }

  static json Query(const std::string& expression) { return prometheus_->Query(expression); }
  static bool Await(const std::string& expression) { return prometheus_->Await(expression); }

  static std::string Instance(int port) { return "127.0.0.1:" + std::to_string(port); }

  inline static std::unique_ptr<test::TestFolder> folder_;
  inline static std::unique_ptr<test::ProbeProcess> probe_;
  inline static std::unique_ptr<test::PrometheusProcess> prometheus_;
  inline static std::unique_ptr<test::ProbeProcess> polling_probe_;
  inline static int probe_port_ = 0;
  inline static int polling_port_ = 0;
  inline static int prometheus_port_ = 0;
};

void Replace(std::string& text, const std::string& what, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
    text.replace(at, what.size(), by);
}

json Dashboard() {
  std::ifstream file(VEXORA_GRAFANA_DASHBOARD);
  return json::parse(file);
}

/// Whether a sample has a value that can be drawn.
bool IsFinite(const json& sample) {
  return std::isfinite(std::strtod(sample["value"][1].get<std::string>().c_str(), nullptr));
}

TEST_F(Scraped, IsServedToThoseWithTheTokenOnly) {
  EXPECT_EQ(HttpGet(probe_port_, "/metrics").status, 401);
  EXPECT_EQ(HttpGet(probe_port_, "/metrics", "Authorization: Bearer wrong\r\n").status, 401);
  const HttpResult text = HttpGet(probe_port_, "/metrics", kAuthorization);
  EXPECT_EQ(text.status, 200);
  EXPECT_THAT(text.head, HasSubstr("content-type: text/plain; version=0.0.4; charset=utf-8\r\n"));
  const HttpResult open = HttpGet(probe_port_, "/metrics", kAuthorization + "Accept: application/openmetrics-text\r\n");
  EXPECT_THAT(open.head, HasSubstr("content-type: application/openmetrics-text; version=1.0.0; charset=utf-8\r\n"));
}

TEST_F(Scraped, IsTakenWhole) {
  ASSERT_TRUE(Await("count(count_over_time(up[1m]) >= 2) == 2")) << prometheus_->output();
  // On a busy machine a scrape may take longer than Prometheus waits.
  ASSERT_TRUE(Await("count(up == 1) == 2")) << prometheus_->Get("/api/v1/targets");
  // Every sample that a probe tells is a series of Prometheus's, none is left out as a duplicate.
  EXPECT_TRUE(
      Await("count(scrape_samples_scraped == on (instance) count by (instance) "
            "({__name__=~\"vexora_.+\"})) == 2"));
  EXPECT_FALSE(Query("scrape_samples_scraped > 500").empty());
  const std::string own = prometheus_->Get("/metrics");
  for (const char* const refused : {"duplicate_timestamp", "out_of_order", "out_of_bounds"}) {
    EXPECT_THAT(own, HasSubstr(std::string("\nprometheus_target_scrapes_sample_") + refused + "_total 0\n"));
  }
  // That it is OpenMetrics which Prometheus reads: there counters are known by their names without the suffix.
  const json metadata = json::parse(prometheus_->Get("/api/v1/metadata"))["data"];
  EXPECT_TRUE(metadata.contains("vexora_messages_sent"));
  EXPECT_EQ(metadata["vexora_pass_duration_seconds"][0]["type"], "histogram");
}

TEST_F(Scraped, AnswersEveryQueryOfTheDashboard) {
  // Rates are those of what happens between two scrapes.
  ASSERT_TRUE(Await("increase(vexora_snmp_failed_polls_total[1m]) > 0")) << polling_probe_->output();
  ASSERT_TRUE(Await("increase(vexora_pass_duration_seconds_count[1m]) > 0")) << probe_->output();
  ASSERT_TRUE(Await("count(count_over_time(up[1m]) >= 3) == 2"));
  std::size_t queries = 0;
  const json dashboard = Dashboard();
  for (const json& panel : dashboard["panels"]) {
    for (const json& target : panel.value("targets", json::array())) {
      std::size_t found = 0;
      for (const int port : {probe_port_, polling_port_}) {
        std::string expression = target["expr"];
        if (expression.find("$__rate_interval") != std::string::npos) {
          // Grafana makes four of the step; without one, of fifteen seconds, and a minute's scrapes have no rate in it.
          EXPECT_EQ(target.value("interval", ""), "1m") << expression;
          Replace(expression, "$__rate_interval", "4m");
        }
        Replace(expression, "$instance", Instance(port));
        Replace(expression, "$device", ".*");
        EXPECT_EQ(expression.find('$'), std::string::npos) << expression;
        for (const json& sample : Query(expression)) found += IsFinite(sample) ? 1U : 0U;
      }
      EXPECT_GT(found, 0U) << panel["title"] << ": " << target["expr"];
      EXPECT_EQ(target["datasource"]["uid"], "${datasource}");
      ++queries;
    }
  }
  EXPECT_GT(queries, 30U);
}

TEST_F(Scraped, FillsTheVariablesOfTheDashboard) {
  ASSERT_TRUE(Await("vexora_device_info"));
  std::set<std::string> names;
  const json dashboard = Dashboard();
  for (const json& variable : dashboard["templating"]["list"]) {
    names.insert(variable["name"]);
    if (variable["type"] != "query") continue;
    // label_values(SERIES, LABEL)
    std::string definition = variable["definition"];
    Replace(definition, "$instance", Instance(probe_port_));
    const std::size_t begin = definition.find('(') + 1;
    const std::size_t comma = definition.rfind(", ");
    const std::string label = definition.substr(comma + 2, definition.rfind(')') - comma - 2);
    const json samples = Query(definition.substr(begin, comma - begin));
    ASSERT_FALSE(samples.empty()) << definition;
    EXPECT_NE(samples[0]["metric"].value(label, ""), "") << definition;
  }
  EXPECT_EQ(names, (std::set<std::string>{"datasource", "device", "instance"}));
}

TEST_F(Scraped, TellsWhatTheProcessReallyOccupies) {
  const auto told = [] {
    const std::string body = HttpGet(probe_port_, "/metrics", kAuthorization).body;
    const std::string name = "\nvexora_process_resident_memory_bytes ";
    const std::size_t at = body.find(name);
    return at == std::string::npos ? 0.0 : std::strtod(body.c_str() + at + name.size(), nullptr);
  };
  std::ifstream statm("/proc/" + std::to_string(probe_->pid()) + "/statm");
  std::uint64_t size = 0;
  std::uint64_t pages = 0;
  const double figure = told();
  ASSERT_TRUE(statm >> size >> pages);
  const double real = static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE));
  EXPECT_NEAR(figure, real, real / 10);
}

}  // namespace
