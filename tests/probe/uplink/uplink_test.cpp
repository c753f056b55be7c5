#include "probe/uplink/uplink.h"
#include "probe/api/plugin_calls.h"
#include "probe/uplink/site_interface.h"
#include "probe/uplink/sqlite_handles.h"
#include "probe/uplink/uplink_counts.h"
#include "probe/uplink/uplink_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <future>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "monitor/engine/filter.h"
#include "platform/sending.h"
#include "tests/probe/server/served.h"
#include "tests/probe/uplink/nats_servers.h"
#include "tests/support/local_time.h"
#include "tests/support/test_folder.h"

namespace {

using probe::log::Level;
using probe::uplink::Uplink;
using probe::uplink::UplinkCounts;
using probe::uplink::UplinkSettings;
using test::Eventually;
using test::IdsOf;
using test::StoredMessage;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr time_t kBeforeMidnight = 1'767'657'540;  // 2026-01-05 23:59 UTC

/// Sends the same text to everybody.
class Announcer final : public subscribes::Subscriber {
 public:
  subscribes::ParsedRequest FilterParser(json_object* request) override { return parser_.FilterParser(request); }
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override {
    for (const auto& [sid, connections] : subscriptions) {
      for (const auto& [connection, filter] : connections) GetSalSendByCon()(connection, text);
    }
  }
  std::vector<std::string> Requests() const { return parser_.Requests(); }

  std::string text;

 private:
  test::RecordingSubscriber parser_;
};

class UplinkTest : public test::Served {
 protected:
  UplinkTest() {
    service.AddSubscriber("HealthMonitor", health_);
    service.AddSubscriber("TrafficMonitor", traffic_);
    Serve();
    nats_.emplace();
    settings_.servers = {nats_->url()};
    settings_.site = "north";
    reader_.emplace(nats_->url());
    reader_->MakeStream();
  }

  void TearDown() override {
    uplink_.reset();
    test::Served::TearDown();
  }

  void StartUplink() {
    probe::uplink::SiteInterface site = site_;
    site.reports["wireless_client_report"] = {[] { return std::string(R"({"daily":["2026-01-06","2026-01-05"]})"); },
                                              [](const std::string& request) { return "report for " + request; }};
    uplink_ = std::make_unique<Uplink>(settings_, folder_.Path("spool.db"));
    uplink_->Start(*server, service, std::move(site));
  }

  void Pass(time_t at, const std::string& health, const std::string& traffic = "") {
    uplink_->observer().OnPassBegins(at);
    Announce("HealthMonitor", *health_, health);
    if (!traffic.empty()) Announce("TrafficMonitor", *traffic_, traffic);
    uplink_->observer().OnPassEnds();
  }

  void Announce(const std::string& topic, Announcer& announcer, const std::string& text) {
    announcer.text = text;
    announcer.PushDataBySID(service.GetSubscribeList(topic));
  }

  bool Says(Level level, const std::string& part) const { return !log.Texts(level, part).empty(); }

  /// The first text that the stream has; "none" when none comes.
  std::string FirstText() {
    const auto stored = reader_->Await(1);
    return stored.empty() ? "none" : stored.front().text;
  }

  bool Waits(std::uint64_t count) {
    return Eventually([&] { return uplink_->counts().waiting == count; });
  }

  test::LocalZone utc_{"UTC"};
  test::TestFolder folder_;
  std::shared_ptr<Announcer> health_ = std::make_shared<Announcer>();
  std::shared_ptr<Announcer> traffic_ = std::make_shared<Announcer>();
  std::optional<test::NatsServer> nats_;
  std::optional<test::StreamReader> reader_;
  UplinkSettings settings_;
  probe::uplink::SiteInterface site_;  // but for its reports
  std::unique_ptr<Uplink> uplink_;
};

/// An HTTP interface that answers with the path and the arguments that it was asked for.
probe::HttpAnswer Echo(const probe::HttpRequest& request) {
  probe::HttpAnswer answer;
  std::string text = request.path;
  for (const auto& [name, value] : request.arguments) text.append(" ").append(name).append("=").append(value);
  answer.body = std::make_shared<const std::string>(text);
  answer.headers = {{"vexora-zone", "UTC"}};
  return answer;
}

TEST_F(UplinkTest, SendsWhatPagesShowBehindEachPass) {
  site_.answer = Echo;
  StartUplink();
  Pass(kBeforeMidnight, "health");
  const auto stored = reader_->Await(5);
  EXPECT_THAT(IdsOf(stored),
              ElementsAre("north.HealthMonitor.2026-01-05T23:59:00Z", "north.clients.2026-01-05T23:59:00Z",
                          "north.devices.2026-01-05T23:59:00Z", "north.notifications.2026-01-05T23:59:00Z",
                          "north.status.2026-01-05T23:59:00Z"));
  EXPECT_EQ(stored[2].text, "/api/v1/devices");
}

TEST_F(UplinkTest, SendsNothingForAPageThatHasAnError) {
  site_.answer = [](const probe::HttpRequest& request) {
    return request.path == "/api/v1/devices" ? probe::ErrorAnswer(500, "broken", "It is broken.") : Echo(request);
  };
  StartUplink();
  Pass(kBeforeMidnight, "health");
  const auto ids = IdsOf(reader_->Await(4));
  EXPECT_THAT(ids, SizeIs(4));
  EXPECT_THAT(ids, Not(Contains(HasSubstr("devices"))));
}

TEST_F(UplinkTest, MakesReportsAndPagesOnceForADiskThatTakesNothing) {
  std::atomic<int> pages{0};
  site_.answer = [&](const probe::HttpRequest& request) {
    ++pages;
    return Echo(request);
  };
  StartUplink();
  Pass(kBeforeMidnight, "first");
  ASSERT_THAT(reader_->Await(5), SizeIs(5));
  sqlite3* made = nullptr;
  ASSERT_EQ(sqlite3_open(folder_.Path("spool.db").c_str(), &made), SQLITE_OK);
  const probe::uplink::SqliteDatabase other(made);
  ASSERT_TRUE(
      Eventually([&] { return sqlite3_exec(made, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) == SQLITE_OK; }));
  pages = 0;
  Pass(kBeforeMidnight + 60, "second");
  ASSERT_TRUE(Eventually([&] { return pages == 4; }));
  ASSERT_TRUE(Eventually([&] { return Says(Level::kError, "locked"); }));
  // A second attempt comes 200 ms after the first.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
  while (pages == 4 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  EXPECT_EQ(pages, 4);
  sqlite3_exec(made, "COMMIT", nullptr, nullptr, nullptr);
  const auto stored = reader_->Await(11);
  EXPECT_THAT(IdsOf({stored.begin() + 5, stored.end()}),
              ElementsAre("north.wireless_client_report.2026-01-05", "north.HealthMonitor.2026-01-06T00:00:00Z",
                          "north.clients.2026-01-06T00:00:00Z", "north.devices.2026-01-06T00:00:00Z",
                          "north.notifications.2026-01-06T00:00:00Z", "north.status.2026-01-06T00:00:00Z"));
}

TEST_F(UplinkTest, LosesNoPassToAPageThatCannotBeMade) {
  site_.answer = [](const probe::HttpRequest& request) -> probe::HttpAnswer {
    if (request.path == "/api/v1/devices") throw std::runtime_error("no such luck");
    return Echo(request);
  };
  StartUplink();
  Pass(kBeforeMidnight, "health");
  EXPECT_THAT(reader_->Await(4), SizeIs(4));
  EXPECT_TRUE(Says(Level::kError, "/api/v1/devices could not be answered: no such luck"));
  EXPECT_THAT(reader_->Ask("vexora.v1.north.request.http", R"({"path":"/api/v1/devices"})", false),
              ElementsAre(HasSubstr("internal_error")));
}

TEST_F(UplinkTest, AnswersWhatItsHttpInterfaceDoes) {
  site_.answer = Echo;
  StartUplink();
  // Behind its first text the servers know what it listens to.
  Pass(kBeforeMidnight, "health");
  ASSERT_FALSE(reader_->Await(1).empty());
  const auto ask = [&](const std::string& text) {
    const auto answers = reader_->Ask("vexora.v1.north.request.http", text, false);
    return answers.empty() ? "none" : answers.front();
  };
  EXPECT_EQ(ask(R"({"path":"/api/v1/ports","arguments":{"mac":"AA"}})"), "/api/v1/ports mac=AA");
  EXPECT_EQ(ask(R"({"path":"/metrics"})"), "/metrics");
  for (const char* wrong :
       {R"({"path":"/healthz"})", R"({"path":7})", "{}", "[]", "", R"({"path":"/api/v1/ports","arguments":{"mac":7}})",
        R"({"path":"/api/v1/x","arguments":[]})"})
    EXPECT_THAT(ask(wrong), HasSubstr("bad_request")) << wrong;
}

TEST_F(UplinkTest, AnswersWithTheNewestMessageForAFilter) {
  site_.message = [](const std::string& topic, const std::string& filter) { return topic + " for " + filter; };
  StartUplink();
  // Behind its first text the servers know what it listens to.
  Pass(kBeforeMidnight, "health");
  ASSERT_FALSE(reader_->Await(1).empty());
  EXPECT_THAT(reader_->Ask("vexora.v1.north.request.message", R"({"topic":"Topic","filter":{"interval":"5m"}})", false),
              ElementsAre(R"(Topic for {"interval":"5m"})"));
}

TEST_F(UplinkTest, SendsWhileSomebodyWaitsForAnAnswer) {
  std::promise<void> over;
  const auto is_over = over.get_future().share();
  std::atomic<bool> is_asked{false};
  // What is waited for belongs to who waits, who may still be about to wake when this test is through.
  site_.message = [&is_asked, is_over](const std::string&, const std::string&) {
    is_asked = true;
    is_over.wait();
    return std::string();
  };
  StartUplink();
  Pass(kBeforeMidnight, "first");
  ASSERT_THAT(reader_->Await(1), SizeIs(1));
  natsConnection_PublishRequestString(reader_->connection(), "vexora.v1.north.request.message", "nobody", "{}");
  ASSERT_TRUE(Eventually([&] { return is_asked.load(); }));
  Pass(kBeforeMidnight + 1, "second");
  EXPECT_THAT(reader_->Await(2), SizeIs(2));
  over.set_value();
}

TEST_F(UplinkTest, AsksForTheViewsFromWhichTheRestCanBeFolded) {
  StartUplink();
  EXPECT_THAT(health_->Requests(), ElementsAre(R"([{"sid":"uplink","filter":{}}])"));
  EXPECT_THAT(traffic_->Requests(), ElementsAre(R"([{"sid":"uplink","filter":{"interval":"1m"}}])"));
}

TEST_F(UplinkTest, SendsWhatEachPassTellsOnceAndInOrder) {
  StartUplink();
  Pass(60, "h1", "t1");
  Pass(120, "h2", "t2");
  const auto stored = reader_->Await(4);
  ASSERT_THAT(stored, SizeIs(4));
  EXPECT_THAT(IdsOf(stored),
              ElementsAre("north.HealthMonitor.1970-01-01T00:01:00Z", "north.TrafficMonitor.1970-01-01T00:01:00Z",
                          "north.HealthMonitor.1970-01-01T00:02:00Z", "north.TrafficMonitor.1970-01-01T00:02:00Z"));
  EXPECT_EQ(stored[0].text, "h1");
  EXPECT_EQ(stored[3].text, "t2");
  EXPECT_EQ(stored[3].subject, "vexora.v1.north.TrafficMonitor");
  EXPECT_TRUE(Eventually([&] { return uplink_->counts().stored == 4; }));
  EXPECT_EQ(uplink_->counts().waiting, 0U);
}

TEST_F(UplinkTest, SendsNothingThatIsToldOutsideAPass) {
  StartUplink();
  Announce("HealthMonitor", *health_, "between");
  Pass(60, "h1");
  EXPECT_EQ(FirstText(), "h1");
}

TEST_F(UplinkTest, KeepsWhatWaitsWhileNoServerIsThere) {
  StartUplink();
  Pass(60, "h1");
  reader_->Await(1);
  nats_->Kill();
  for (int pass = 2; pass <= 60; ++pass) Pass(pass * 60, "h" + std::to_string(pass));
  ASSERT_TRUE(Waits(59));
  EXPECT_TRUE(Eventually(
      [&] { return Says(Level::kWarning, "[Uplink] not connected, texts wait in " + folder_.Path("spool.db")); }));
  nats_->Restart();
  test::StreamReader reader(nats_->url());
  const auto stored = reader.Await(60);
  ASSERT_THAT(stored, SizeIs(60));
  for (std::size_t at = 0; at < stored.size(); ++at) EXPECT_EQ(stored[at].text, "h" + std::to_string(at + 1));
  EXPECT_TRUE(Waits(0));
}

TEST_F(UplinkTest, KeepsWhatWaitsOverARestartOfTheProbe) {
  nats_->Kill();
  StartUplink();
  Pass(60, "h1");
  Pass(120, "h2");
  uplink_.reset();
  nats_->Restart();
  test::StreamReader reader(nats_->url());
  StartUplink();
  Pass(180, "h3");
  const auto stored = reader.Await(3);
  ASSERT_THAT(stored, SizeIs(3));
  EXPECT_EQ(stored[0].text, "h1");
  EXPECT_EQ(stored[2].text, "h3");
}

TEST_F(UplinkTest, NamesWhatTheSpoolsBoundCuts) {
  nats_->Kill();
  settings_.spool_bytes = 4;
  StartUplink();
  Pass(60, "h1");
  Pass(120, "h2");
  Pass(180, "h3");
  EXPECT_TRUE(Eventually([&] { return uplink_->counts().cut == 1; }));
  EXPECT_EQ(uplink_->counts().waiting, 2U);
  EXPECT_TRUE(Says(Level::kWarning,
                   "[Uplink] 1 texts of HealthMonitor from 1970-01-01T00:01:00Z to 1970-01-01T00:01:00Z are lost"));
}

TEST_F(UplinkTest, GoesOnAfterATextThatNoServerTakes) {
  StartUplink();
  Pass(60, std::string(1024 * 1024 + 1, 'x'));
  Pass(120, "h2");
  EXPECT_EQ(FirstText(), "h2");
  EXPECT_TRUE(Eventually([&] { return uplink_->counts().cut == 1; }));
  EXPECT_TRUE(Says(Level::kError, "more than max_payload of the servers"));
}

TEST_F(UplinkTest, SendsTheReportsOfADayThatEnded) {
  StartUplink();
  Pass(kBeforeMidnight, "h1");
  Pass(kBeforeMidnight + 60, "h2");
  Pass(kBeforeMidnight + 120, "h3");
  const auto stored = reader_->Await(4);
  ASSERT_THAT(stored, SizeIs(4));
  EXPECT_EQ(stored[1].subject, "vexora.v1.north.wireless_client_report");
  EXPECT_EQ(stored[1].id, "north.wireless_client_report.2026-01-05");
  EXPECT_EQ(stored[1].text, R"(report for {"period":"2026-01-05","report_type":"daily"})");
}

TEST_F(UplinkTest, AnswersWithTheNewestOfEachTopic) {
  StartUplink();
  Pass(60, "h1", "t1");
  Pass(120, "h2");
  reader_->Await(3);
  EXPECT_THAT(reader_->Ask("vexora.v1.north.request.newest", "", true), ElementsAre("h2", "t1"));
}

TEST_F(UplinkTest, AnswersWithReports) {
  StartUplink();
  Pass(60, "h1");
  reader_->Await(1);
  const std::string subject = "vexora.v1.north.request.report";
  EXPECT_THAT(reader_->Ask(subject, R"({"report":"wireless_client_report","request":{"period":"x"}})", false),
              ElementsAre(R"(report for {"period":"x"})"));
  EXPECT_THAT(reader_->Ask(subject, R"({"report":"wireless_client_report"})", false),
              ElementsAre(R"({"daily":["2026-01-06","2026-01-05"]})"));
  const std::string deep(1'000'000, '[');
  for (const char* wrong : {"", "{", "[]", "3", "{}", R"({"report":3})", R"({"report":"other"})", deep.c_str()}) {
    EXPECT_THAT(reader_->Ask(subject, wrong, false), ElementsAre(R"({"error":"report must be the name of a report"})"))
        << std::string(wrong).substr(0, 40);
  }
}

TEST_F(UplinkTest, KeepsThePassesWhileTheSpoolCannotBeOpened) {
  std::filesystem::create_directory(folder_.Path("spool.db"));
  StartUplink();
  Pass(60, "h1");
  EXPECT_TRUE(Eventually([&] { return Says(Level::kError, "cannot open " + folder_.Path("spool.db")); }));
  std::filesystem::remove(folder_.Path("spool.db"));
  EXPECT_EQ(FirstText(), "h1");
}

TEST_F(UplinkTest, PutsABrokenSpoolAsideAndGoesOn) {
  folder_.Write("spool.db", std::string(4096, 'x'));
  StartUplink();
  Pass(60, "h1");
  EXPECT_EQ(FirstText(), "h1");
  EXPECT_TRUE(Says(Level::kError, "it is put aside as " + folder_.Path("spool.db.broken")));
  EXPECT_TRUE(std::filesystem::exists(folder_.Path("spool.db.broken")));
}

TEST_F(UplinkTest, SendsTheReportsOfTheDayBeforeTheStartOnce) {
  const auto reports = [&] {
    auto ids = IdsOf(reader_->Await(1));
    std::erase_if(ids, [](const std::string& id) { return id.find("report") == std::string::npos; });
    return ids;
  };
  StartUplink();
  Pass(kBeforeMidnight + 60, "h1");
  reader_->Await(2);
  uplink_.reset();
  StartUplink();
  Pass(kBeforeMidnight + 120, "h2");
  reader_->Await(3);
  EXPECT_THAT(reports(), ElementsAre("north.wireless_client_report.2026-01-05"));
}

TEST_F(UplinkTest, SendsNoReportOfADayThatThePlugInDoesNotKnow) {
  StartUplink();
  Pass(kBeforeMidnight - 86'400 * 3, "h1");
  Pass(kBeforeMidnight - 86'400 * 2, "h2");
  EXPECT_THAT(reader_->Await(2), SizeIs(2));
  EXPECT_TRUE(Waits(0));
}

TEST_F(UplinkTest, GoesOnWhenTheServersLetItInAgain) {
  const std::string port = std::to_string(nats_->port());
  nats_->Kill();
  // Another server in its place, which knows nobody: the client library gives up after two refusals.
  test::ChildProcess strict({"nats-server", "--addr", "127.0.0.1", "--port", port, "--user", "a", "--pass", "b"});
  ASSERT_TRUE(strict.AwaitOutput("Server is ready"));
  StartUplink();
  Pass(60, "h1");
  EXPECT_TRUE(Eventually([&] { return Says(Level::kWarning, "[Uplink] not connected"); }));
  ASSERT_TRUE(strict.AwaitOutput("authentication error"));
  strict.Signal(SIGTERM);
  strict.AwaitExit();
  nats_->Restart();
  test::StreamReader reader(nats_->url());
  EXPECT_THAT(IdsOf(reader.Await(1)), ElementsAre("north.HealthMonitor.1970-01-01T00:01:00Z"));
}

TEST_F(UplinkTest, StopsAtOnceWhileAServerDoesNotAnswer) {
  settings_.stream = "OTHER";
  StartUplink();
  Pass(60, "h1");
  ASSERT_TRUE(Waits(1));
  const auto begun = std::chrono::steady_clock::now();
  uplink_->Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(4)) << "a server has five to answer";
}

}  // namespace
