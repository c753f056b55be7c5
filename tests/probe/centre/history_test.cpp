// The history of a fleet: databases that are given what a centre tells of each minute, and make the probe's views of
// it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "probe/centre/centre.h"
#include "probe/centre/centre_settings.h"
#include "probe/centre/fleet_metrics.h"
#include "probe/centre/sites.h"
#include "probe/host/subscription_service.h"
#include "probe/metrics/exposition.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/web_server.h"
#include "probe/uplink/pass_collector.h"
#include "tests/probe/app/probe_process.h"
#include "tests/probe/metrics/http_get.h"
#include "tests/probe/uplink/nats_servers.h"
#include "tests/support/child_process.h"
#include "tests/support/test_folder.h"

namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

constexpr std::array kFamilies{"vexora_device_measured", "vexora_interface_receive_bytes_per_second",
                               "vexora_interface_transmit_bytes_per_second"};
constexpr std::int64_t kMinuteSeconds = 60;
constexpr std::int64_t kDelaySeconds = 180;  // of the rules

/// A view of the probe, and of how many minutes its samples are made. A mean of the database is greater by less than
/// `fraction`: each of the means of means drops what is behind the point.
struct View {
  std::string name;
  std::int64_t minutes;
  double fraction;
};
const std::array<View, 3> kComparedViews{{{"5m", 5, 1}, {"10m", 10, 2}, {"1h", 60, 3}}};

/// A direction of an interface, as the database and as the probe names it.
struct Direction {
  std::string metric;
  std::string member;
};
const std::array<Direction, 2> kDirections{{{"receive", "input"}, {"transmit", "output"}}};

/// Device, interface and minute since the epoch -> octets per second.
using Means = std::map<std::tuple<std::string, std::string, std::int64_t>, double>;

std::string ContentOf(const std::string& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size(), ++count)
    text.replace(at, what.size(), by);
  EXPECT_GT(count, 0U) << what;
  return text;
}

/// Runs a program to its end. Its exit code.
int ExitCodeOf(std::vector<std::string> words, std::string* output = nullptr) {
  test::ChildProcess process(std::move(words));
  const int code = process.AwaitExit();
  if (code != 0) ADD_FAILURE() << process.output();
  if (output != nullptr) *output = process.output();
  return code;
}

/// A port of the loopback that nobody listens on: for a program that does not tell which it has taken.
int FreePort() {
  const int found = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  EXPECT_EQ(bind(found, reinterpret_cast<const sockaddr*>(&address), length), 0);
  EXPECT_EQ(getsockname(found, reinterpret_cast<sockaddr*>(&address), &length), 0);
  close(found);
  return ntohs(address.sin_port);
}

/// A network of some hours, for a replay by the plug-in: a pass a minute.
class Recording {
 public:
  static constexpr int kPasses = 250;
  static constexpr const char* kSwitch = "AA:AA:AA:AA:AA:01";
  static constexpr const char* kRouter = "AA:AA:AA:AA:AA:02";

  /// Two days ago, so that a database takes it in the order of time before what it scrapes. Passes come some seconds
  /// behind full minutes.
  Recording() : start_((time(nullptr) / kDaySeconds - 2) * kDaySeconds + 17) {}

  time_t TimeOf(int pass) const { return start_ + pass * kMinuteSeconds; }

  static bool IsOnline(const std::string& device, int pass) {
    return device == kSwitch || pass < 100 || pass >= 111;  // the router is away for a while
  }

  std::string Text() {
    std::string text = json{{"recording", 1}, {"start", start_}}.dump() + "\n";
    json requests = json::array();
    for (const char* const view : {"1m", "5m", "10m", "1h"})
      requests.push_back({{"sid", view}, {"filter", {{"interval", view}}}});
    text +=
        json{{"subscribe", {{"topic", "TrafficMonitor"}, {"connection", "c"}, {"request", requests}}}}.dump() + "\n";
    for (int pass = 0; pass <= kPasses; ++pass) {
      for (int port = 1; port <= 4; ++port) Count(pass, kSwitch, "ge" + std::to_string(port));
      Count(pass, kRouter, "wan");
      Count(pass, kSwitch, "printer");
      for (const char* const device : {kSwitch, kRouter})
        text += json{{"device",
                      {{"mac", device},
                       {"merge", {{"online", IsOnline(device, pass)}, {"interfaces", interfaces_[device]}}}}}}
                    .dump() +
                "\n";
      if (pass > 0) text += "{\"pass\":{}}\n";
    }
    return text;
  }

 private:
  static constexpr time_t kDaySeconds = 86'400;

  /// Counts the octets of a minute. The printer is silent for longer than the view 1m is, twice.
  void Count(int pass, const std::string& device, const std::string& interface) {
    json& counters = interfaces_[device][interface]["traffic"];
    constexpr int kJobMinutes = 80;
    const bool is_silent = interface == "printer" && pass % kJobMinutes > 20;
    for (const char* const name : {"in_bytes", "out_bytes"}) {
      state_ = state_ * 6'364'136'223'846'793'005U + 1'442'695'040'888'963'407U;
      const std::uint64_t octets = is_silent ? 0 : state_ >> 36;
      if (counters[name].is_null()) counters[name] = std::uint64_t{0};
      counters[name] = counters[name].get<std::uint64_t>() + octets;
    }
  }

  const time_t start_;
  std::uint64_t state_ = 1;  // of the random numbers
  std::map<std::string, json> interfaces_;
};

/// What a site told in some hours: the plug-in's messages, and a centre's figures in each minute.
class RecordedSite {
 public:
  RecordedSite() {
    const std::string file = folder_.Write("recording.jsonl", recording_.Text());
    std::string output;
    ExitCodeOf({VEXORA_REPLAY, file}, &output);
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
      const json push = json::parse(line, nullptr, false).value("push", json::object());
      if (push.contains("text")) Take(push["pass"], push["text"]);
    }
  }

  /// The samples that the plug-in pushed of a view, with all messages.
  Means Pushed(const View& view, const std::string& member) const {
    Means means;
    for (const json& body : pushed_.at(view.name)) {
      for (const auto& [device, interfaces] : body["traffic_data"].items()) {
        for (const auto& [interface, told] : interfaces.items()) {
          for (const json& sample : told["traffic"])
            means[{device, interface, sample["time"].get<std::int64_t>()}] = sample[member].get<double>();
        }
      }
    }
    return means;
  }

  /// The figures of the centre in all minutes. `has_seconds`: times are in seconds, as OpenMetrics has them.
  std::string Exposition(bool has_seconds) const {
    std::string text;
    for (const char* const family : kFamilies) {
      text += std::string("# HELP ") + family + " Of a test.\n# TYPE " + family + " gauge\n";
      for (const std::string& line : lines_.at(family))
        text.append(line, 0, line.size() - (has_seconds ? 3 : 0)).append("\n");
    }
    return has_seconds ? text + "# EOF\n" : text;
  }

  /// Whether a device was measured in each of so many minutes, up to this one.
  bool IsWhole(const std::string& device, std::int64_t minute, std::int64_t minutes) const {
    for (std::int64_t at = minute - minutes + 1; at <= minute; ++at) {
      const auto pass = static_cast<int>(at - recording_.TimeOf(0) / kMinuteSeconds);
      if (pass < 1 || !Recording::IsOnline(device, pass)) return false;
    }
    return true;
  }

  std::int64_t first_minute() const { return recording_.TimeOf(1) / kMinuteSeconds; }
  std::int64_t last_minute() const { return recording_.TimeOf(Recording::kPasses) / kMinuteSeconds; }

 private:
  void Take(int pass, const std::string& text) {
    const json message = json::parse(text);
    const auto& [view, body] = *message["data"].items().begin();
    pushed_[view].push_back(body);
    if (view == "1m") Tell(pass, text);
  }

  /// Has the centre tell of a pass, whose text comes as the uplink sends it.
  void Tell(int pass, const std::string& traffic) {
    constexpr std::int64_t kNano = 1'000'000'000;
    const time_t at = recording_.TimeOf(pass);
    json devices = json::array();
    for (const char* const device : {Recording::kSwitch, Recording::kRouter})
      devices.push_back({{"mac", device}, {"online", Recording::IsOnline(device, pass)}});
    const std::map<std::string, std::string> texts{{"TrafficMonitor", traffic},
                                                   {"devices", json{{"devices", devices}}.dump()}};
    for (const auto& [topic, text] : texts) {
      EXPECT_TRUE(sites_.Put({"north", topic, probe::uplink::IdOfTime(at), std::int64_t{at} * kNano, 1,
                              static_cast<std::uint64_t>(pass), text}));
    }
    const std::string figures = Serialise(metrics_.Collect(at + 5), probe::metrics::Format::kText);
    std::istringstream lines(figures);
    for (std::string line; std::getline(lines, line);) {
      for (const char* const family : kFamilies) {
        if (line.starts_with(std::string(family) + "{")) lines_[family].push_back(line);
      }
    }
  }

  Recording recording_;
  const test::TestFolder folder_;
  std::map<std::string, std::vector<json>> pushed_;  // by view
  probe::centre::Sites sites_;
  const probe::WebServer server_{{}, probe::SubscriptionService::Instance()};
  const probe::centre::FleetMetrics metrics_{sites_, server_, [] { return probe::centre::CentreFigures(); }};
  std::map<std::string, std::vector<std::string>> lines_;  // by family
};

/// A probe on a simulated network, a server, and a centre that reads what goes up.
class LiveFleet {
 public:
  LiveFleet() {
    const std::string configuration = folder_.Write(
        "probe.toml", "[server]\nport = 0\n[uplink]\nservers = [\"" + nats_.url() +
                          "\"]\nsite = \"north\"\n[journal]\nstate_directory = \"" + folder_.Path("state") + "\"\n");
    probe::centre::CentreSettings settings;
    settings.stream.servers = {nats_.url()};
    probe::ServerSettings server;
    server.port = 0;
    centre_.emplace(settings, server);
    centre_->Start();
    probe_.emplace(
        std::vector<std::string>{"--config", configuration, "--simulated", "--devices", "3", "--speed", "60"});
  }

  int port() const { return centre_->server().port(); }

 private:
  const test::TestFolder folder_;
  test::NatsServer nats_;
  std::optional<probe::centre::Centre> centre_;
  std::optional<test::ProbeProcess> probe_;
};

/// A database that answers as Prometheus does, and scrapes a centre that runs.
class Database {
 public:
  virtual ~Database() = default;
  virtual int port() const = 0;

  /// Has it show what it has taken in.
  virtual void Settle() const {}

  json Ask(const std::string& path) const {
    const test::HttpResult result = test::HttpGet(port(), path);
    const json answer = json::parse(result.body, nullptr, false);
    EXPECT_EQ(answer.is_object() ? answer.value("status", "") : "", "success") << path << "\n" << result.body;
    return answer.is_object() && answer.contains("data") ? answer["data"] : json::object();
  }

  json Query(const std::string& expression) const {
    return Ask("/api/v1/query?query=" + test::PercentEncoded(expression)).value("result", json::array());
  }

  bool Await(const std::string& expression) const {
    const auto deadline = std::chrono::steady_clock::now() + test::kPatience;
    while (Query(expression).empty()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(50ms);
      Settle();
    }
    return true;
  }

  /// The values of a rule, by the minute up to which they tell. `late`: seconds behind full minutes of its evaluation.
  Means Evaluate(const std::string& expression, const RecordedSite& site, std::int64_t late) const {
    const auto at = [&](std::int64_t minute) { return std::to_string(minute * kMinuteSeconds + kDelaySeconds + late); };
    const json data = Ask("/api/v1/query_range?nocache=1&step=60&start=" + at(site.first_minute()) +
                          "&end=" + at(site.last_minute()) + "&query=" + test::PercentEncoded(expression));
    Means means;
    for (const json& series : data.value("result", json::array())) {
      for (const json& value : series["values"]) {
        const auto minute = static_cast<std::int64_t>(value[0].get<double>()) - kDelaySeconds - late;
        EXPECT_EQ(series["metric"].value("site", ""), "north");
        means[{series["metric"]["device"], series["metric"]["interface"], minute / kMinuteSeconds}] =
            std::strtod(value[1].get<std::string>().c_str(), nullptr);
      }
    }
    return means;
  }
};

/// Where a centre listens in the files that are installed, and how often it is scraped.
std::string Adapted(const std::string& file, int centre_port) {
  return Replaced(Replaced(Replaced(ContentOf(std::string(VEXORA_FLEET_FOLDER) + "/" + file), "127.0.0.1:8765",
                                    "127.0.0.1:" + std::to_string(centre_port)),
                           "scrape_interval: 30s", "scrape_interval: 1s"),
                  "scrape_timeout: 20s", "scrape_timeout: 1s");
}

class Prometheus final : public Database {
 public:
  Prometheus(const RecordedSite& site, int centre_port) {
    const std::string figures = folder_.Write("figures.txt", site.Exposition(true));
    ExitCodeOf({"promtool", "tsdb", "create-blocks-from", "openmetrics", figures, folder_.Path("data")});
    folder_.Write("recording-rules.yml", ContentOf(std::string(VEXORA_FLEET_FOLDER) + "/recording-rules.yml"));
    const std::string file = folder_.Write("prometheus.yml", Adapted("prometheus.yml", centre_port));
    process_ = std::make_unique<test::ChildProcess>(
        std::vector<std::string>{"prometheus", "--config.file=" + file, "--storage.tsdb.path=" + folder_.Path("data"),
                                 "--web.listen-address=127.0.0.1:0"});
    const std::string words = "\"Listening on\" address=127.0.0.1:";
    if (!process_->AwaitOutput(words) || !process_->AwaitOutput("ready to receive web requests")) return;
    port_ = std::atoi(process_->output().c_str() + process_->output().find(words) + words.size());
  }

  int port() const override { return port_; }
  std::string output() const { return process_->output(); }

  /// The expressions of its rules, by what they record.
  std::map<std::string, std::string> Rules() const {
    std::map<std::string, std::string> rules;
    const json data = Ask("/api/v1/rules");
    for (const json& group : data["groups"]) {
      for (const json& rule : group["rules"]) rules[rule["name"]] = rule["query"];
    }
    return rules;
  }

 private:
  const test::TestFolder folder_;
  std::unique_ptr<test::ChildProcess> process_;
  int port_ = 0;
};

class VictoriaMetrics final : public Database {
 public:
  VictoriaMetrics(const RecordedSite& site, int centre_port) : port_(FreePort()) {
    const std::string address = "127.0.0.1:" + std::to_string(port_);
    const std::string file = folder_.Write("victoria-metrics.yml", Adapted("victoria-metrics.yml", centre_port));
    process_ = std::make_unique<test::ChildProcess>(std::vector<std::string>{
        "victoria-metrics", "-httpListenAddr=" + address, "-storageDataPath=" + folder_.Path("data"),
        "-promscrape.config=" + file, "-search.latencyOffset=0s", "-retentionPeriod=2y"});
    if (!process_->AwaitOutput("started VictoriaMetrics")) ADD_FAILURE() << process_->output();
    const std::string figures = folder_.Write("figures.txt", site.Exposition(false));
    const std::string url = "http://" + address;
    ExitCodeOf({"curl", "--silent", "--fail", "--data-binary", "@" + figures, url + "/api/v1/import/prometheus"});
    Settle();
  }

  void Settle() const override { EXPECT_EQ(test::HttpGet(port_, "/internal/force_flush").status, 200); }

  int port() const override { return port_; }
  std::string output() const { return process_->output(); }

 private:
  const test::TestFolder folder_;
  std::unique_ptr<test::ChildProcess> process_;
  int port_ = 0;
};

class HistoryTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    site_ = std::make_unique<RecordedSite>();
    fleet_ = std::make_unique<LiveFleet>();
    prometheus_ = std::make_unique<Prometheus>(*site_, fleet_->port());
  }

  static void TearDownTestSuite() {
    prometheus_.reset();
    fleet_.reset();
    site_.reset();
  }

  // Here, for tests of a suite that cannot be set up are skipped, and nobody would notice.
  void SetUp() override {
    ASSERT_NE(prometheus_, nullptr);
    ASSERT_NE(prometheus_->port(), 0) << prometheus_->output();
  }

  static std::string RuleOf(const View& view, const Direction& direction) {
    return prometheus_->Rules()["vexora:interface_" + direction.metric + "_bytes_per_second:mean" + view.name];
  }

  /// How many samples of a view agree with the means of a database, and which do not.
  struct Comparison {
    std::size_t compared = 0;
    std::size_t above_zero = 0;
    std::vector<std::string> differences;
  };

  static Comparison Compare(const View& view, const Direction& direction, const Means& means) {
    Comparison result;
    for (const auto& [key, pushed] : site_->Pushed(view, direction.member)) {
      const auto& [device, interface, minute] = key;
      if (!site_->IsWhole(device, minute, view.minutes)) continue;
      ++result.compared;
      if (pushed > 0) ++result.above_zero;
      // An interface that was silent all the time has none.
      const auto found = means.find(key);
      const double mean = found == means.end() ? 0 : found->second;
      constexpr double kOfDoubles = 1e-6;
      if (mean - pushed > -kOfDoubles && mean - pushed < view.fraction) continue;
      result.differences.push_back(device + " " + interface + " " + view.name + " at " + std::to_string(minute) +
                                   ": pushed " + std::to_string(pushed) + ", mean " + std::to_string(mean));
    }
    return result;
  }

  static void ExpectViews(const Database& database, std::int64_t late) {
    for (const View& view : kComparedViews) {
      for (const Direction& direction : kDirections) {
        const std::string rule = RuleOf(view, direction);
        ASSERT_NE(rule, "") << view.name;
        const Comparison comparison = Compare(view, direction, database.Evaluate(rule, *site_, late));
        EXPECT_THAT(comparison.differences, ::testing::IsEmpty()) << rule;
        // Six interfaces, whose first sample comes with the second pass, and of the router some windows are not whole.
        EXPECT_GE(comparison.compared, static_cast<std::size_t>(5 * (Recording::kPasses / view.minutes - 1)))
            << view.name;
        EXPECT_GT(comparison.above_zero, comparison.compared / 2) << view.name;
        RecordProperty("compared_" + view.name + "_" + direction.member, static_cast<int>(comparison.compared));
      }
    }
  }

  inline static std::unique_ptr<RecordedSite> site_;
  inline static std::unique_ptr<LiveFleet> fleet_;
  inline static std::unique_ptr<Prometheus> prometheus_;
};

TEST_F(HistoryTest, HasInPrometheusTheMeansThatTheProbeHas) {
  ExpectViews(*prometheus_, 0);
}

TEST_F(HistoryTest, HasTheSameMeansWheneverInAMinuteRulesAreEvaluated) {
  ExpectViews(*prometheus_, 37);
  ExpectViews(*prometheus_, 59);
}

TEST_F(HistoryTest, HasInVictoriaMetricsTheMeansThatTheProbeHas) {
  const VictoriaMetrics victoria(*site_, fleet_->port());
  ExpectViews(victoria, 0);
  ExpectViews(victoria, 37);
  EXPECT_TRUE(victoria.Await(R"(vexora_site_last_heard_timestamp_seconds{site="north",instance="fleet"})"))
      << victoria.output();
}

TEST_F(HistoryTest, IsComparedByATestThatSeesOtherMeans) {
  const View& view = kComparedViews[0];
  for (const std::string range : {"[3m59s999ms]", "[5m59s999ms]"}) {
    std::string rule = RuleOf(view, kDirections[0]);
    // Only of the octets, not of the minutes that they are divided by.
    const std::size_t divided = rule.find('/');
    rule = Replaced(rule.substr(0, divided), "[4m59s999ms]", range) + rule.substr(divided);
    EXPECT_GT(Compare(view, kDirections[0], prometheus_->Evaluate(rule, *site_, 0)).differences.size(), 10U);
  }
  const Means of_ten = prometheus_->Evaluate(RuleOf(kComparedViews[1], kDirections[0]), *site_, 0);
  EXPECT_GT(Compare(view, kDirections[0], of_ten).differences.size(), 10U);
}

TEST_F(HistoryTest, IsScrapedWithTheConfigurationThatIsInstalled) {
  EXPECT_TRUE(prometheus_->Await(R"(up{job="vexora-centre",instance="fleet"} == 1)")) << prometheus_->output();
  EXPECT_TRUE(prometheus_->Await(R"(vexora_site_last_heard_timestamp_seconds{site="north",instance="fleet"})"));
  EXPECT_TRUE(prometheus_->Await(R"(vexora_interface_receive_bytes_per_second{site="north",instance="fleet"})"));
  // What the site's own figures have as well is stored once.
  EXPECT_THAT(prometheus_->Query(R"(vexora_device_up{instance="fleet"})"), ::testing::IsEmpty());
}

TEST(HistoryConfiguration, IsAcceptedByTheProgramsThatReadIt) {
  const std::string folder = VEXORA_FLEET_FOLDER;
  std::string output;
  EXPECT_EQ(ExitCodeOf({"promtool", "check", "config", folder + "/prometheus.yml"}, &output), 0);
  EXPECT_THAT(output, HasSubstr("10 rules found"));
  EXPECT_EQ(ExitCodeOf({"promtool", "check", "rules", "--lint=all", "--lint-fatal", folder + "/recording-rules.yml"}),
            0);
  EXPECT_EQ(ExitCodeOf({"vmalert", "-dryRun", "-rule=" + folder + "/recording-rules.yml"}), 0);
  EXPECT_EQ(ExitCodeOf({"victoria-metrics", "-dryRun", "-promscrape.config=" + folder + "/victoria-metrics.yml"}), 0);
}

TEST(HistoryConfiguration, MakesTheLongViewsOfTheMeansOfHours) {
  std::string output;
  EXPECT_EQ(ExitCodeOf({"promtool", "test", "rules", VEXORA_RULES_TEST}, &output), 0);
  EXPECT_THAT(output, HasSubstr("SUCCESS"));
}

}  // namespace
