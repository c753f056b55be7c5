#include "probe/api/http_api.h"
#include "platform/device_records.h"
#include "probe/api/history_status.h"
#include "probe/api/latest_messages.h"
#include "probe/api/page_files.h"
#include "probe/api/plugin_calls.h"
#include "probe/host/device_centre.h"
#include "probe/server/http/http_message.h"
#include "probe/sources/snmp/device_status.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <vector>

#include "probe/clock/pass_timer.h"
#include "tests/probe/server/served.h"
#include "tests/support/local_time.h"
#include "tests/support/schema/schema.h"

namespace {

using nlohmann::json;
using probe::Caching;
using probe::HttpAnswer;
using ::testing::ElementsAre;

class HttpApiTest : public test::Served {
 protected:
  HttpApiTest() {
    plugin.clients = {[this] { return periods; },
                      [this](const std::string& request) {
                        requests.push_back(request);
                        return report;
                      }};
    plugin.networks = plugin.clients;
    plugin.interface_traffic = [](const std::string& mac, const std::string& interface,
                                  std::map<std::string, unsigned long long>& out) {
      if (mac == "02:00:00:00:00:0A" && interface == "lan") out = {{"input", 3}, {"output", 4}};
      if (mac == "AA" && interface == "5Ghz - Office") out = {{"input", 18'446'744'073'709'551'615ULL}, {"output", 2}};
    };
    service.AddSubscriber("HealthMonitor", subscriber);
  }

  HttpAnswer Ask(const std::string& path, const std::map<std::string, std::string>& arguments = {},
                 unsigned speed = 1) {
    const auto metrics = [](const probe::HttpRequest& request) {
      HttpAnswer answer;
      answer.content_type = "text/plain; for=" + request.accept;
      return answer;
    };
    return probe::HttpApi({"1.2.3", speed}, plugin, centre, latest, probe::PageFiles(""), {}, {}, {}, metrics)
        .Answer({path, arguments, false, {}, "something"});
  }

  static std::string CodeOf(const HttpAnswer& answer) { return json::parse(*answer.body)["error"]["code"]; }

  /// The same; empty for an answer that is no error.
  static std::string CodeOfOrEmpty(const HttpAnswer& answer) { return answer.status == 200 ? "" : CodeOf(answer); }

  /// Has a pass push a health message to everybody.
  void PassWith(const std::string& text) {
    if (server == nullptr) {
      Serve();
      latest.Start(*server, service);
    }
    const auto connections = service.GetSubscribeList("HealthMonitor")["latest"];
    for (const auto& [connection, filter] : connections) Push(connection, text);
  }

  probe::DeviceCentre centre;
  probe::LatestMessages latest;
  probe::PluginCalls plugin;
  std::string periods = R"({"daily": ["2026-11-15"], "weekly": ["2026-11-15/2026-11-21"]})";
  std::string report = R"({"wireless_clients": [], "expire": false})";
  std::vector<std::string> requests;
};

TEST_F(HttpApiTest, ListsTheDevicesInTheOrderOfTheCentre) {
  probe::DeviceSnapshot late;
  late.basic_info->hostname = "late \xff";
  probe::DeviceSnapshot first;
  first.basic_info->hostname = "ap-1";
  first.basic_info->ip = "10.0.0.2";
  first.basic_info->type = vexora_probe::models::controller::DeviceType::kAccessPoint;
  first.platform_info = {"W6", "1.0"};
  first.is_wireless = true;
  first.online = false;
  first.sample_time = 1000;
  late.sample_time = 0;
  centre.Replace("BB", first);
  centre.Replace("AA", late);
  const HttpAnswer answer = Ask("/api/devices");
  EXPECT_EQ(json::parse(*answer.body), json::parse(R"({"devices": [
    {"mac": "BB", "hostname": "ap-1", "ip": "10.0.0.2", "type": "AccessPoint", "model": "W6", "version": "1.0",
     "online": false, "wireless": true, "measured": 1000, "absences": []},
    {"mac": "AA", "hostname": "late �", "ip": "", "type": "Unknown", "model": "", "version": "",
     "online": true, "wireless": false, "measured": null, "absences": []}]})"));
  first.online = true;
  first.sample_time = 2000;
  centre.Replace("BB", first);
  const json back = json::parse(*Ask("/api/devices").body)["devices"][0];
  EXPECT_EQ(back["absences"], json::parse(R"([{"from": 1000, "to": 2000}])"));
  EXPECT_EQ(answer.caching, Caching::kRevalidate);
  EXPECT_EQ(answer.etag, probe::EtagOf(*answer.body));
}

TEST_F(HttpApiTest, HandsAScrapeOnWithWhatItAsksFor) {
  EXPECT_EQ(Ask("/metrics").content_type, "text/plain; for=something");
  const probe::HttpApi none({"1.2.3", 1}, plugin, centre, latest, probe::PageFiles(""));
  EXPECT_EQ(none.Answer({"/metrics", {}}).status, 404U);
  EXPECT_EQ(none.LookUp("/metrics"), probe::Access::kToken);
}

TEST_F(HttpApiTest, TellsHowDevicesArePolled) {
  probe::snmp::DeviceStatus good{.address = "192.0.2.1:161",
                                 .name = "switch",
                                 .mac = "AA",
                                 .online = true,
                                 .clients = 4,
                                 .listed_clients = 3,
                                 .health = {},
                                 .stale = {}};
  good.health.answered = true;
  good.health.last_answer = 1'700'000'000;
  good.health.duration = std::chrono::milliseconds(12);
  good.health.statistics = {.pdus = 9, .responses = 8, .timeouts = 1};
  good.health.profile = "generic";
  good.stale = {{.name = "stations", .age_seconds = 65}};
  probe::snmp::DeviceStatus silent{.address = "192.0.2.7:161",
                                   .name = "192.0.2.7",
                                   .mac = "",
                                   .online = false,
                                   .clients = {},
                                   .listed_clients = {},
                                   .health = {},
                                   .stale = {}};
  silent.health.failed_polls = 3;
  silent.health.error = "no reply \xff";
  const probe::HttpApi api({"1.2.3", 1}, plugin, centre, latest, probe::PageFiles(""), [&] {
    return std::vector{good, silent};
  });
  EXPECT_EQ(json::parse(*api.Answer({"/api/devices", {}}).body), json::parse(R"({"devices": [], "polls": [
    {"address": "192.0.2.1:161", "name": "switch", "mac": "AA", "online": true, "clients": 4, "listed_clients": 3, "profile": "generic",
     "last_answer": 1700000000, "duration": 12, "pdus": 9, "timeouts": 1, "failed_polls": 0, "error": "",
     "stale": [{"table": "stations", "age": 65}]},
    {"address": "192.0.2.7:161", "name": "192.0.2.7", "mac": "", "online": false, "clients": null, "listed_clients": null,
     "profile": "", "last_answer": null, "duration": 0, "pdus": 0, "timeouts": 0, "failed_polls": 3, "error": "no reply �",
     "stale": []}]})"));
}

TEST_F(HttpApiTest, TellsTheNewestTrafficOfOneInterface) {
  const auto code = [&](const std::string& mac) {
    return CodeOf(Ask("/api/traffic", {{"mac", mac}, {"interface", "lan"}}));
  };
  EXPECT_EQ(code("AA"), "invalid_mac");
  EXPECT_EQ(code("AA:BB:CC:00:00:01"), "unknown_device");
  centre.Replace("AA", {});
  EXPECT_EQ(code("AA"), "unknown_interface");
  EXPECT_EQ(Ask("/api/traffic", {{"mac", "AA"}, {"interface", "lan"}}).status, 404U);
  EXPECT_EQ(CodeOf(Ask("/api/traffic", {{"mac", "AA"}})), "missing_argument");
  EXPECT_EQ(Ask("/api/traffic", {{"mac", ""}, {"interface", "x"}}).status, 400U);
  HttpAnswer answer = Ask("/api/traffic", {{"mac", "AA"}, {"interface", "5Ghz - Office"}});
  EXPECT_EQ(*answer.body, R"({"mac":"AA","interface":"5Ghz - Office","input":18446744073709551615,"output":2})");
  EXPECT_EQ(answer.caching, Caching::kNoStore);
  centre.Replace("02:00:00:00:00:0A", {});
  answer = Ask("/api/traffic", {{"mac", "0200-0000-000a"}, {"interface", "lan"}});
  EXPECT_EQ(*answer.body, R"({"mac":"02:00:00:00:00:0A","interface":"lan","input":3,"output":4})") << "in any notation";
}

TEST_F(HttpApiTest, GivesAReportWithWhatIsNoNumberAsNull) {
  report = R"({"spectrum_usage": {"5GHz": {"traffic": {"peak": Infinity, "average": NaN}}}, "x": ")"
           "\xff\"}";
  const HttpAnswer answer = Ask("/api/reports/networks", {{"type", "weekly"}, {"period", "2026-11-15/2026-11-21"}});
  EXPECT_EQ(answer.status, 200U);
  EXPECT_EQ(json::parse(*answer.body),
            json::parse(R"({"spectrum_usage": {"5GHz": {"traffic": {"peak": null, "average": null}}}, "x": "�"})"));
  EXPECT_THAT(requests, ElementsAre(R"({"report_type":"weekly","period":"2026-11-15/2026-11-21"})"));
  EXPECT_EQ(answer.etag, probe::EtagOf(*answer.body));
}

TEST_F(HttpApiTest, GivesThePeriodsAsThePluginListsThem) {
  EXPECT_EQ(json::parse(*Ask("/api/reports/clients/periods").body), json::parse(periods));
}

TEST_F(HttpApiTest, RefusesAReportThatThereIsNot) {
  EXPECT_EQ(CodeOf(Ask("/api/reports/clients")), "missing_argument");
  EXPECT_EQ(CodeOf(Ask("/api/reports/clients", {{"type", "monthly"}, {"period", "2026-11"}})), "unknown_type");
  const HttpAnswer unknown = Ask("/api/reports/clients", {{"type", "daily"}, {"period", "2026-11-14"}});
  EXPECT_EQ(unknown.status, 404U);
  EXPECT_EQ(CodeOf(unknown), "unknown_period");
  EXPECT_EQ(Ask("/api/reports/clients", {{"type", "weekly"}, {"period", "2026-11-15"}}).status, 404U);
  EXPECT_TRUE(requests.empty());
}

TEST_F(HttpApiTest, SaysThatTheEngineDoesNotRun) {
  periods = "{}";
  EXPECT_EQ(Ask("/api/reports/clients/periods").status, 503U);
  EXPECT_EQ(CodeOf(Ask("/api/reports/networks", {{"type", "daily"}, {"period", "x"}})), "not_running");
  periods = "";
  EXPECT_EQ(CodeOf(Ask("/api/reports/networks/periods")), "not_running");
  EXPECT_EQ(Ask("/api/reports/networks/periods").retry_after, 1U) << "it is being started or stopped";
}

TEST_F(HttpApiTest, GivesTheLatestMessageOfATopicStrictly) {
  PassWith("{}");
  EXPECT_EQ(CodeOf(Ask("/api/live/HealthMonitor")), "nothing_yet");
  PassWith(R"({"name": "HealthMonitor", "data": NaN})");
  const HttpAnswer answer = Ask("/api/live/HealthMonitor");
  EXPECT_EQ(*answer.body, R"({"name": "HealthMonitor", "data": null})");
  EXPECT_EQ(answer.caching, Caching::kNoStore);
  EXPECT_EQ(CodeOf(Ask("/api/live/TrafficMonitor", {{"interval", "1day"}})), "nothing_yet");
  EXPECT_EQ(CodeOf(Ask("/api/live/TrafficMonitor", {{"interval", "3h"}})), "unknown_filter");
  EXPECT_EQ(CodeOf(Ask("/api/live/Nobody")), "unknown_topic");
}

TEST_F(HttpApiTest, IsHealthyWhileThePassesCome) {
  EXPECT_EQ(*Ask("/healthz").body, R"({"status":"starting"})");
  PassWith("{}");
  EXPECT_EQ(*Ask("/healthz").body, R"({"status":"ok"})");
}

TEST_F(HttpApiTest, TellsWhereThePassesAre) {
  json status = json::parse(*Ask("/api/status", {}, 60).body);
  EXPECT_EQ(status["passes"], json::parse(R"({"period": 60, "last": null})"));
  EXPECT_EQ(status["speed"], 60);
  EXPECT_EQ(status["version"], "1.2.3");
  PassWith("{}");
  EXPECT_EQ(json::parse(*Ask("/api/status").body)["topics"], json::array()) << "nobody has asked for any";
  Ask("/api/live/HealthMonitor");
  PassWith("{}");
  status = json::parse(*Ask("/api/status").body);
  EXPECT_TRUE(status["passes"]["last"].is_number_integer());
  EXPECT_EQ(status["topics"].size(), 1U);
  EXPECT_EQ(status["topics"][0]["topic"], "HealthMonitor");
  EXPECT_GE(status["now"].get<std::int64_t>(), status["passes"]["last"].get<std::int64_t>() * 1000);
}

TEST_F(HttpApiTest, TellsHowLongPassesTakeAndHowLateTheyAre) {
  probe::PassStatus passes;
  const probe::HttpApi api({"1.2.3", 1}, plugin, centre, latest, probe::PageFiles(""), {}, {}, [&] { return passes; });
  const auto told = [&] { return json::parse(*api.Answer({"/api/status", {}}).body)["passes"]; };
  EXPECT_EQ(told()["duration"], json::parse(R"({"last": null, "worst": null})"));
  using std::chrono::milliseconds;
  passes = {probe::PassTiming{milliseconds(12), milliseconds(0)},
            probe::PassTiming{milliseconds(340), milliseconds(7)}};
  EXPECT_EQ(told()["duration"], json::parse(R"({"last": 12, "worst": 340})"));
  EXPECT_EQ(told()["lateness"], json::parse(R"({"last": 0, "worst": 7})"));
}

TEST_F(HttpApiTest, TellsInWhichTimeZoneItStands) {
  const char* const before = std::getenv("TZ");
  const std::string zone = before == nullptr ? "" : before;
  setenv("TZ", "Asia/Tokyo", 1);
  tzset();
  const probe::HttpApi api({"1.2.3", 1, "Asia/Tokyo"}, plugin, centre, latest, probe::PageFiles(""));
  EXPECT_EQ(json::parse(*api.Answer({"/api/status", {}}).body)["time_zone"],
            json::parse(R"({"name": "Asia/Tokyo", "offset": 32400})"));
  if (before == nullptr)
    unsetenv("TZ");
  else
    setenv("TZ", zone.c_str(), 1);
  tzset();
}

TEST_F(HttpApiTest, TellsInWhichTimeZoneAReportIsMeant) {
  const test::LocalZone berlin("Europe/Berlin");
  const probe::HttpApi api({"1.2.3", 1, "Europe/Berlin"}, plugin, centre, latest, probe::PageFiles(""));
  periods = R"({"daily": ["2026-07-01", "2026-11-15"], "weekly": ["2026-10-25/2026-10-31"]})";
  const auto headers = [&](const std::string& type, const std::string& period) {
    return api.Answer({"/api/v1/reports/clients", {{"type", type}, {"period", period}}}).headers;
  };
  using Header = std::pair<std::string, std::string>;
  const Header zone{"vexora-time-zone", "Europe/Berlin"};
  EXPECT_THAT(headers("daily", "2026-11-15"), ElementsAre(zone, Header("vexora-utc-offset", "3600")));
  EXPECT_THAT(headers("daily", "2026-07-01"), ElementsAre(zone, Header("vexora-utc-offset", "7200")));
  EXPECT_THAT(headers("weekly", "2026-10-25/2026-10-31"), ElementsAre(zone, Header("vexora-utc-offset", "7200")))
      << "as on its first day, on which summer time ends";
  EXPECT_THAT(headers("daily", "1999-01-01"), ::testing::IsEmpty()) << "no report";
  EXPECT_EQ(*api.Answer({"/api/v1/reports/clients", {{"type", "daily"}, {"period", "2026-11-15"}}}).body, report);
  EXPECT_EQ(api.Answer({"/api/v1/reports/clients/periods", {}}).headers.front(), zone);
}

TEST_F(HttpApiTest, TellsHowFarTheJournalIsReplayed) {
  probe::HistoryStatus history;
  const probe::HttpApi api({"1.2.3", 1}, plugin, centre, latest, probe::PageFiles(""), {}, [&] { return history; });
  const auto told = [&] { return json::parse(*api.Answer({"/api/status", {}}).body)["history"]; };
  history.is_warming = true;
  history.share = 0.25;
  EXPECT_EQ(*api.Answer({"/healthz", {}}).body, R"({"status":"warming"})");
  EXPECT_EQ(told(), json::parse(R"({"state": "warming", "share": 0.25, "seconds_left": null, "known_since": null,
                                    "outages": [], "journal": "off"})"));
  history.time_left = std::chrono::seconds(7);
  history.known_since = 60;
  EXPECT_EQ(told()["seconds_left"], 7);
  history.is_warming = false;
  history.outages = {{.from = 120, .to = 900}};
  history.journal = probe::HistoryStatus::Journal::kFailing;
  EXPECT_EQ(told(), json::parse(R"({"state": "ready", "known_since": 60, "outages": [{"from": 120, "to": 900}],
                                    "journal": "failing"})"));
  EXPECT_EQ(*api.Answer({"/healthz", {}}).body, R"({"status":"starting"})");
}

/// Counts how often it is asked for a message at once.
class CountingSubscriber final : public subscribes::Subscriber {
 public:
  subscribes::ParsedRequest FilterParser(json_object* request) override { return parser.FilterParser(request); }
  void PushDataBySID(const subscribes::SubscriptionList& /*subscriptions*/) override { ++pushes; }
  test::RecordingSubscriber parser;
  int pushes = 0;
};

TEST_F(HttpApiTest, AsksForAMessageBeforeTheFirstPassWhenThePluginHasHistories) {
  const auto counting = std::make_shared<CountingSubscriber>();
  service.AddSubscriber("HealthMonitor", counting);
  std::vector<time_t> passes;
  latest.SetPassObserver([&](time_t at) { passes.push_back(at); });
  Serve();
  latest.Start(*server, service);
  Ask("/api/live/HealthMonitor");
  EXPECT_EQ(counting->pushes, 0) << "there is nothing to tell yet";
  latest.AllowQuestions();
  Ask("/api/live/HealthMonitor");
  EXPECT_EQ(counting->pushes, 1);
  PassWith("{}");
  EXPECT_EQ(passes.size(), 1U);
}

/// Gives its message at once to whoever asks for it.
class TellingSubscriber final : public subscribes::Subscriber {
 public:
  using Send = std::function<void(lws* connection)>;
  explicit TellingSubscriber(Send send) : send_(std::move(send)) {}

  subscribes::ParsedRequest FilterParser(json_object* request) override { return parser.FilterParser(request); }
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override {
    for (const auto& [sid, connections] : subscriptions)
      for (const auto& [connection, filter] : connections) send_(connection);
  }
  test::RecordingSubscriber parser;

 private:
  const Send send_;
};

TEST_F(HttpApiTest, HasTheMessageOfOneDeviceBuiltWhenItIsAskedFor) {
  const std::string mac = "AA:BB:CC:00:00:01";
  centre.Replace(mac, {});
  const std::string text = R"({"name": "TrafficMonitor", "data": {"1m": {"traffic_data": {"AA:BB:CC:00:00:01":
      {"lan1": {"ifIndex": 1}, "lan2": {"ifIndex": 2}}}, "sid": ["latest"]}}})";
  const auto telling = std::make_shared<TellingSubscriber>([&](lws* connection) { Push(connection, text); });
  service.AddSubscriber("TrafficMonitor", telling);
  const std::map<std::string, std::string> one{{"interval", "1m"}, {"mac", mac}};
  PassWith("{}");
  EXPECT_EQ(json::parse(*Ask("/api/v1/live/TrafficMonitor", one).body), json::parse(text));
  EXPECT_THAT(telling->parser.Requests(),
              ElementsAre(R"([{"sid":"latest","filter":{"interval":"1m","mac":"AA:BB:CC:00:00:01"}}])"));
  EXPECT_TRUE(service.Subscriptions("TrafficMonitor").empty()) << "no pass builds it again";
  auto of_interface = one;
  of_interface["interface"] = "lan2";
  const json kept = json::parse(*Ask("/api/v1/live/TrafficMonitor", of_interface).body);
  EXPECT_EQ(kept["data"]["1m"]["traffic_data"], json::parse(R"({"AA:BB:CC:00:00:01": {"lan2": {"ifIndex": 2}}})"));
  of_interface["interface"] = "lan3";
  EXPECT_EQ(CodeOf(Ask("/api/v1/live/TrafficMonitor", of_interface)), "unknown_interface");
}

TEST_F(HttpApiTest, SaysWhatALiveTopicDoesNotTellOfOneDevice) {
  const std::string mac = "AA:BB:CC:00:00:01";
  centre.Replace(mac, {});
  EXPECT_EQ(CodeOf(Ask("/api/v1/live/TrafficMonitor", {{"mac", mac}})), "nothing_yet") << "no pass";
  EXPECT_EQ(CodeOf(Ask("/api/v1/live/TrafficMonitor", {{"mac", "AA:BB:CC:00:00:02"}})), "unknown_device");
  EXPECT_EQ(CodeOf(Ask("/api/v1/live/HealthMonitor", {{"mac", "x"}})), "invalid_mac");
  EXPECT_EQ(CodeOf(Ask("/api/v1/live/TrafficMonitor", {{"interface", "lan1"}})), "missing_argument");
  EXPECT_EQ(CodeOf(Ask("/api/v1/live/HealthMonitor", {{"mac", mac}, {"interface", "lan1"}})), "unknown_filter");
  EXPECT_EQ(CodeOf(Ask("/api/v1/live/wireless_top_monitor", {{"mac", mac}})), "unknown_filter");
}

TEST(PassTimes, KnowTheOldestPassAndTheTimesWithoutAny) {
  probe::PassTimes times;
  EXPECT_EQ(times.known_since(), std::nullopt);
  for (const time_t at : {1000, 1060, 1239, 1419, 1000, 900, 5000}) times.Note(at);
  EXPECT_EQ(times.known_since(), 900) << "the clock was set back";
  EXPECT_THAT(times.outages(), ElementsAre(probe::Outage{1239, 1419}, probe::Outage{900, 5000}));
  for (int outage = 1; outage <= 200; ++outage) times.Note(5000 + outage * 180);
  EXPECT_EQ(times.outages().size(), probe::PassTimes::kMaxOutages);
  EXPECT_EQ(times.outages().back().to, 5000 + 200 * 180);
}

TEST(PassTimes, TakeAStallForAnOutageOnlyWhereItIsOneInTrueTime) {
  probe::PassTimes times(60);
  for (const time_t at : {1000, 1180, 4000, 14'799}) times.Note(at);
  EXPECT_THAT(times.outages(), ::testing::IsEmpty()) << "less than three true minutes";
  times.Note(25'599);
  EXPECT_THAT(times.outages(), ElementsAre(probe::Outage{14'799, 25'599}));
  times.BeginRun();
  times.Note(25'599 + 180);
  times.Note(25'599 + 360);
  EXPECT_THAT(times.outages(), ElementsAre(probe::Outage{14'799, 25'599}, probe::Outage{25'599, 25'779}));
}

TEST(PassTimes, KnowNothingFromBehindATimeLongerThanAnyHistory) {
  probe::PassTimes times;
  constexpr time_t kNow = 1'795'219'200;
  for (const time_t at : {time_t{60}, time_t{600}, kNow, kNow + 60}) times.Note(at);
  EXPECT_EQ(times.known_since(), kNow) << "the clock began in 1970";
  EXPECT_THAT(times.outages(), ::testing::IsEmpty());
}

TEST_F(HttpApiTest, GuardsEverythingButItsHealthAndThePages) {
  const probe::HttpApi api({}, plugin, centre, latest, probe::PageFiles(""));
  EXPECT_EQ(api.LookUp("/healthz"), probe::Access::kPublic);
  EXPECT_EQ(api.LookUp("/index.html"), probe::Access::kNotFound) << "no pages here";
  for (const auto& path : probe::HttpApi::Paths())
    if (path != "/healthz") {
      EXPECT_EQ(api.LookUp(path), probe::Access::kToken) << path;
    }
  EXPECT_EQ(api.LookUp("/api/nothing"), probe::Access::kToken) << "no telling apart without the token";
  EXPECT_EQ(CodeOf(Ask("/api/nothing")), "not_found");
}

TEST_F(HttpApiTest, SaysThatThereIsNoDashboard) {
  const probe::HttpApi api({}, plugin, centre, latest, probe::PageFiles(""));
  EXPECT_EQ(api.LookUp("/"), probe::Access::kPublic);
  const HttpAnswer answer = Ask("/");
  EXPECT_EQ(answer.status, 503U);
  EXPECT_EQ(CodeOf(answer), "no_dashboard");
  EXPECT_EQ(answer.retry_after, 0U) << "nobody knows when somebody installs one";
  EXPECT_EQ(test::SchemaViolation("problem", *answer.body), "");
}

TEST_F(HttpApiTest, AnswersAlsoAtThePathsWithoutAVersion) {
  centre.Replace("AA", {});
  for (const std::string path :
       {"", "devices", "openapi.json", "schemas/ports.json", "reports/clients/periods", "nothing"}) {
    EXPECT_EQ(*Ask("/api/" + path).body, *Ask("/api/v1/" + path).body) << path;
    EXPECT_EQ(Ask("/api/" + path).status, path == "nothing" ? 404U : 200U) << path;
  }
  EXPECT_EQ(Ask("/api/v1/v1/devices").status, 404U);
  EXPECT_EQ(Ask("/api/v2/devices").status, 404U);
}

TEST_F(HttpApiTest, ServesItsDescription) {
  const json description = json::parse(*Ask("/api/v1/openapi.json").body);
  EXPECT_EQ(description["paths"].size(), probe::HttpApi::Paths().size());
  for (const auto& path : probe::HttpApi::Paths()) EXPECT_TRUE(description["paths"].contains(path)) << path;
  std::ifstream file(VEXORA_SCHEMA_FOLDER "/ports.json");
  EXPECT_EQ(*Ask("/api/v1/schemas/ports.json").body, std::string(std::istreambuf_iterator<char>(file), {}));
  EXPECT_EQ(CodeOf(Ask("/api/v1/schemas/nothing.json")), "unknown_schema");
  EXPECT_EQ(CodeOf(Ask("/api/v1/schemas/../openapi.json")), "unknown_schema");
}

TEST_F(HttpApiTest, TellsOfOneDeviceWhenOneIsAskedFor) {
  centre.Replace("AA:BB:CC:00:00:01", {});
  centre.Replace("AA:BB:CC:00:00:02", {});
  const auto macs = [&](const std::string& mac) {
    std::vector<std::string> listed;
    const json told = json::parse(*Ask("/api/v1/devices", {{"mac", mac}}).body);
    for (const json& device : told["devices"]) listed.push_back(device["mac"]);
    return listed;
  };
  EXPECT_THAT(macs("AA:BB:CC:00:00:02"), ElementsAre("AA:BB:CC:00:00:02"));
  EXPECT_THAT(macs("aabb-cc00-0002"), ElementsAre("AA:BB:CC:00:00:02")) << "in any notation";
  EXPECT_EQ(macs("").size(), 2U);
  const HttpAnswer unknown = Ask("/api/v1/devices", {{"mac", "AA:BB:CC:00:00:03"}});
  EXPECT_EQ(unknown.status, 404U);
  EXPECT_EQ(CodeOf(unknown), "unknown_device");
  for (const char* wrong : {"AA", "switch", "AA:BB:CC:00:00:0G", "AA:BB:CC:00:00:01:02"}) {
    const HttpAnswer invalid = Ask("/api/v1/devices", {{"mac", wrong}});
    EXPECT_EQ(invalid.status, 400U);
    EXPECT_EQ(CodeOf(invalid), "invalid_mac");
    EXPECT_EQ(test::SchemaViolation("problem", *invalid.body), "");
  }
}

TEST_F(HttpApiTest, HasThePathsThatItsDescriptionHas) {
  std::ifstream file(VEXORA_OPENAPI_FILE);
  std::vector<std::string> described;
  for (std::string line; std::getline(file, line);)
    if (line.starts_with("  /") && line.ends_with(":")) described.push_back(line.substr(2, line.size() - 3));
  EXPECT_THAT(described, ::testing::UnorderedElementsAreArray(probe::HttpApi::Paths()));
  for (const std::string& path : probe::HttpApi::Paths()) {
    if (path.find('{') == std::string::npos) {
      EXPECT_NE(CodeOfOrEmpty(Ask(path)), "not_found") << path;
    }
  }
}

}  // namespace
