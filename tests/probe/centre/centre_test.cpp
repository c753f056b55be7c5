// A centre over a stream of real servers, and sites that do whatever a site may.

#include "probe/centre/centre.h"
#include "probe/centre/centre_settings.h"
#include "probe/centre/site_answerer.h"
#include "probe/centre/sites.h"
#include "probe/centre/stream_connection.h"
#include "probe/uplink/site_answers.h"
#include "probe/uplink/uplink_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <ctime>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "probe/client/websocket_client.h"
#include "probe/uplink/stream_link.h"
#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"
#include "tests/probe/uplink/nats_servers.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_folder.h"

namespace {

using nlohmann::json;
using probe::centre::Centre;
using probe::uplink::SiteReply;
using probe::uplink::SiteRequest;
using test::Eventually;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// A site that publishes what it is told to, and answers requests on a thread of its own.
class FakeSite {
 public:
  using Answerer = std::function<SiteReply(const SiteRequest&)>;

  FakeSite(const std::string& url, const std::string& name, Answerer answer = {})
      : link_(SettingsOf(url, name)), answer_(std::move(answer)) {
    test::AwaitConnection(link_);
    if (answer_) thread_ = std::thread([this] { Answer(); });
  }
  ~FakeSite() {
    is_stopping_ = true;
    if (thread_.joinable()) thread_.join();
  }
  FakeSite(const FakeSite&) = delete;
  FakeSite& operator=(const FakeSite&) = delete;

  /// Publishes until it is stored; each text has an id of its own.
  void Tell(const std::string& topic, const std::string& text) {
    const std::string id = "text-" + std::to_string(++told_);
    ASSERT_TRUE(Eventually([&] {
      return link_.Publish({{1, topic, id, 0, text}}).front() == probe::uplink::Delivery::kStored;
    }));
  }

 private:
  static probe::uplink::UplinkSettings SettingsOf(const std::string& url, const std::string& name) {
    probe::uplink::UplinkSettings settings;
    settings.servers = {url};
    settings.site = name;
    return settings;
  }

  void Answer() {
    while (!is_stopping_) {
      if (const auto request = link_.NextRequest(std::chrono::milliseconds(50)))
        link_.Reply(request->reply, answer_(*request));
    }
  }

  probe::uplink::StreamLink link_;
  const Answerer answer_;
  int told_ = 0;
  std::atomic<bool> is_stopping_{false};
  std::thread thread_;
};

SiteReply HttpReply(const std::string& text, const std::string& content_type = "application/json",
                    const std::string& status = "200") {
  return {{{"Vexora-Status", status}, {"Vexora-Content-Type", content_type}}, text};
}

class CentreTest : public ::testing::Test {
 protected:
  CentreTest() {
    settings_.stream.servers = {nats_.url()};
    server_.port = 0;
    server_.limits.messages_per_second = 10'000;
    server_.dashboard = pages_.Path("");
    pages_.Write("index.html", "the page of a site");
    pages_.Write("centre.html", "the page of all sites");
  }

  void Start() {
    centre_.emplace(settings_, server_);
    centre_->Start();
    ASSERT_TRUE(Eventually([&] { return StatusOf("/healthz") == 200; }));
  }

  bool Has(const std::string& site, const std::string& topic, const std::string& text) {
    return Eventually([&] {
      const auto found = centre_->sites().Find(site, topic);
      return found != nullptr && found->text == text;
    });
  }

  /// The whole answer to a GET.
  std::string Get(const std::string& path, const std::string& token = "") {
    test::RawClient client(centre_->server().port());
    client.Send("GET " + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" +
                (token.empty() ? "" : "Authorization: Bearer " + token + "\r\n") + "\r\n");
    return client.ReadAll();
  }

  std::string BodyOf(const std::string& path, const std::string& token = "") {
    const std::string answer = Get(path, token);
    return answer.substr(answer.find("\r\n\r\n") + 4);
  }

  int StatusOf(const std::string& path, const std::string& token = "") {
    return std::stoi(Get(path, token).substr(std::string("HTTP/1.1 ").size()));
  }

  std::vector<std::string> SiteNames(const std::string& token = "") {
    std::vector<std::string> names;
    const json told = json::parse(BodyOf("/api/v1/sites", token), nullptr, false);
    for (const json& site : told.value("sites", json::array())) names.push_back(site.value("name", ""));
    return names;
  }

  probe::WebsocketClient Connect(const std::string& path, const std::string& token = "") const {
    probe::ClientOptions options;
    options.port = centre_->server().port();
    options.target = path;
    if (!token.empty()) options.headers["Authorization"] = "Bearer " + token;
    return probe::WebsocketClient(options);
  }

  unsigned RefusalOf(const std::string& path, const std::string& token = "") const {
    try {
      const auto client = Connect(path, token);
      return 0;
    } catch (const probe::ClientError& refusal) {
      return refusal.http_status();
    }
  }

  /// Subscribes, and waits until that is filed.
  void Subscribe(probe::WebsocketClient& client, const std::string& site, const std::string& topic,
                 const std::string& sid, const std::string& filter) {
    client.SendText(R"({"subscribe":{"topic":")" + topic + R"(","request":[{"sid":")" + sid + R"(","filter":)" +
                    filter + "}]}}");
    EXPECT_THAT(Next(client), HasSubstr("subscribed"));
    const std::string filed = site + "/" + topic;
    ASSERT_TRUE(Eventually([&] { return probe::SubscriptionService::Instance().Subscriptions(filed).contains(sid); }));
  }

  static std::string Next(probe::WebsocketClient& client) {
    return client.Receive(std::chrono::seconds(20)).value_or("none");
  }

  test::LogCapture log_;
  test::NatsServer nats_;
  test::TestFolder pages_;
  probe::centre::CentreSettings settings_;
  probe::ServerSettings server_;
  std::optional<Centre> centre_;
};

TEST_F(CentreTest, MakesTheStreamThatTakesTheTextsOfSitesIn) {
  Start();
  FakeSite north(nats_.url(), "north");
  north.Tell("devices", R"({"devices":[]})");
  EXPECT_TRUE(Has("north", "devices", R"({"devices":[]})"));
}

TEST_F(CentreTest, LeavesAStreamAsItIsThatIsThere) {
  test::StreamReader reader(nats_.url());
  reader.MakeStream(120, 3);
  Start();
  FakeSite north(nats_.url(), "north");
  for (int at = 0; at < 3; ++at) north.Tell("devices", std::to_string(at));
  EXPECT_TRUE(Has("north", "devices", "2"));
  EXPECT_EQ(reader.Await(3).size(), 3U);
}

TEST_F(CentreTest, BeginsWithTheLastTextOfEachTopic) {
  test::StreamReader(nats_.url()).MakeStream();
  FakeSite north(nats_.url(), "north");
  FakeSite south(nats_.url(), "south");
  for (const char* text : {"1", "2"}) {
    north.Tell("devices", text);
    north.Tell("clients", text);
    south.Tell("devices", text);
  }
  Start();
  EXPECT_TRUE(Has("north", "devices", "2"));
  EXPECT_TRUE(Has("north", "clients", "2"));
  EXPECT_TRUE(Has("south", "devices", "2"));
  north.Tell("devices", "3");
  EXPECT_TRUE(Has("north", "devices", "3"));
}

TEST_F(CentreTest, IsReadyWhenItHasReadAllThereIsHoweverMuch) {
  test::StreamReader somebody(nats_.url());
  somebody.MakeStream();
  // More than the client library lets wait, of a topic that is only kept: the test is not about reading JSON.
  constexpr int kSites = 80;
  const std::string text(900'000, ' ');
  for (int at = 0; at < kSites; ++at) {
    const std::string name = "site-" + std::to_string(at) + ".TrafficMonitor";
    natsMsg* made = nullptr;
    ASSERT_EQ(natsMsg_Create(&made, ("vexora.v1." + name).c_str(), nullptr, text.data(), static_cast<int>(text.size())),
              NATS_OK);
    const probe::uplink::NatsMessage message(made);
    natsMsgHeader_Set(made, "Nats-Msg-Id", (name + ".1").c_str());
    ASSERT_EQ(natsConnection_PublishMsg(somebody.connection(), made), NATS_OK);
  }
  ASSERT_EQ(somebody.Await(kSites).size(), static_cast<std::size_t>(kSites));
  Start();
  EXPECT_EQ(SiteNames().size(), static_cast<std::size_t>(kSites));
}

TEST_F(CentreTest, GoesOnWhenTheServersAreBack) {
  Start();
  auto north = std::make_unique<FakeSite>(nats_.url(), "north");
  north->Tell("devices", "1");
  ASSERT_TRUE(Has("north", "devices", "1"));
  nats_.Kill();
  ASSERT_TRUE(Eventually([&] { return StatusOf("/healthz") == 503; }));
  EXPECT_EQ(StatusOf("/api/v1/sites"), 200) << "what it knows it goes on to tell";
  nats_.Restart();
  north->Tell("devices", "2");
  EXPECT_TRUE(Has("north", "devices", "2"));
  EXPECT_TRUE(Eventually([&] { return StatusOf("/healthz") == 200; }));
}

TEST_F(CentreTest, LeavesTextsOutThatHaveNoIdOfTheirSite) {
  Start();
  test::StreamReader somebody(nats_.url());
  FakeSite north(nats_.url(), "north");
  // As an acknowledgement would be that is led there: it has no id of its own.
  natsConnection_PublishString(somebody.connection(), "vexora.v1.south.devices", "forged");
  north.Tell("devices", "right");
  ASSERT_TRUE(Has("north", "devices", "right"));
  EXPECT_THAT(SiteNames(), ElementsAre("north"));
}

TEST_F(CentreTest, LeavesTextsOutThatAServerCopiedUnderAnotherName) {
  Start();
  test::StreamReader somebody(nats_.url());
  FakeSite north(nats_.url(), "north");
  north.Tell("devices", "right");
  ASSERT_TRUE(Has("north", "devices", "right"));
  // As the stream answers who asks for a text, here led to where another site's texts are.
  natsMsg* made = nullptr;
  ASSERT_EQ(natsMsg_Create(&made, "vexora.v1.south.devices", nullptr, "forged", 6), NATS_OK);
  const probe::uplink::NatsMessage copy(made);
  natsMsgHeader_Set(made, "Nats-Msg-Id", "south.devices.text-1");
  natsMsgHeader_Set(made, "Nats-Subject", "vexora.v1.north.devices");
  natsConnection_PublishMsg(somebody.connection(), made);
  north.Tell("devices", "again");
  ASSERT_TRUE(Has("north", "devices", "again"));
  EXPECT_THAT(SiteNames(), ElementsAre("north"));
}

TEST_F(CentreTest, ServesThePagesOfAllSitesAndOfEach) {
  Start();
  EXPECT_EQ(BodyOf("/"), "the page of all sites");
  EXPECT_EQ(BodyOf("/sites/north/"), "the page of a site");
  EXPECT_EQ(StatusOf("/sites/north"), 404);
  EXPECT_EQ(StatusOf("/sites/no.rth/"), 404);
  EXPECT_EQ(StatusOf("/nowhere"), 404);
}

TEST_F(CentreTest, AnswersForASiteFromItsTexts) {
  Start();
  FakeSite north(nats_.url(), "north");
  const std::string traffic = R"({"name":"TrafficMonitor","data":{"1m":{"traffic_data":{},"sid":["uplink"]}}})";
  north.Tell("TrafficMonitor", traffic);
  north.Tell("devices", R"({"devices":[{"mac":"A","online":true}]})");
  ASSERT_TRUE(Has("north", "devices", R"({"devices":[{"mac":"A","online":true}]})"));
  EXPECT_EQ(BodyOf("/sites/north/api/v1/devices"), R"({"devices":[{"mac":"A","online":true}]})");
  EXPECT_EQ(BodyOf("/sites/north/api/v1/live/TrafficMonitor?interval=1m"), traffic);
  EXPECT_EQ(StatusOf("/sites/south/api/v1/devices"), 404);
}

TEST_F(CentreTest, LetsTheClockOfASiteGoOn) {
  Start();
  FakeSite north(nats_.url(), "north");
  north.Tell("status", R"({"version":"1","now":1000000,"speed":60})");
  ASSERT_TRUE(Eventually([&] { return centre_->sites().Find("north", "status") != nullptr; }));
  const auto now = [&] { return json::parse(BodyOf("/sites/north/api/v1/status")).value("now", 0L); };
  const long first = now();
  EXPECT_GE(first, 1'000'000);
  EXPECT_TRUE(Eventually([&] { return now() > first + 600; })) << "ten milliseconds, at sixty times the pace";
}

TEST_F(CentreTest, AsksASiteForWhatItsTextsDoNotSay) {
  Start();
  FakeSite north(nats_.url(), "north", [](const SiteRequest& request) {
    SiteReply reply = HttpReply(request.what + " " + request.text);
    reply.headers.emplace_back("Vexora-Header-vexora-time-zone", "Asia/Tokyo");
    reply.headers.emplace_back("Vexora-Header-set-cookie", "stolen=1");
    reply.headers.emplace_back("Vexora-Header-vexora-utc-offset", "0\nset-cookie: stolen=2");
    reply.headers.emplace_back("Vexora-Header-vexora-other", "stolen=3");
    reply.headers.emplace_back("Vexora-Header-location", "https://elsewhere.example");
    return reply;
  });
  north.Tell("devices", "{}");
  ASSERT_TRUE(Has("north", "devices", "{}"));
  const std::string answer = Get("/sites/north/api/v1/ports?mac=AA");
  EXPECT_THAT(answer, HasSubstr(R"(http {"arguments":{"mac":"AA"},"gzip":false,"path":"/api/v1/ports"})"));
  EXPECT_THAT(answer, HasSubstr("Asia/Tokyo"));
  EXPECT_THAT(answer, Not(HasSubstr("stolen"))) << "a site must not set cookies for the pages of others";
  EXPECT_THAT(answer, Not(HasSubstr("elsewhere")));
  EXPECT_EQ(StatusOf("/sites/north/api/v1/session"), 404);
  EXPECT_EQ(StatusOf("/sites/north/other"), 404);
}

TEST_F(CentreTest, HandsTheFiguresOfASiteOn) {
  Start();
  const std::string type = "text/plain; version=0.0.4; charset=utf-8";
  FakeSite north(nats_.url(), "north",
                 [&](const SiteRequest& request) { return HttpReply(request.what + " " + request.text, type); });
  north.Tell("devices", "{}");
  ASSERT_TRUE(Has("north", "devices", "{}"));
  const std::string answer = Get("/sites/north/metrics");
  EXPECT_THAT(answer, HasSubstr("content-type: " + type));
  EXPECT_THAT(answer, HasSubstr(R"(http {"arguments":{},"gzip":false,"path":"/metrics"})"));
  EXPECT_EQ(StatusOf("/sites/north/api/v1/ports"), 502) << "only what was asked for";
  EXPECT_EQ(StatusOf("/sites/nowhere/metrics"), 404);
}

TEST_F(CentreTest, HandsOnNothingThatCouldRunInThePagesOfOtherSites) {
  Start();
  std::atomic<int> turn{0};
  FakeSite north(nats_.url(), "north", [&](const SiteRequest&) {
    const std::vector<SiteReply> replies{
        HttpReply("<script>", "text/html"),         HttpReply("<script>", "image/svg+xml"),
        HttpReply("{}", "application/json", "100"), HttpReply("{}", "application/json", "999"),
        HttpReply("{}", "application/json", "401"), HttpReply("{}", "application/json", "204"),
        HttpReply("", "application/json", "413"),   {{}, "{}"}};
    return replies[static_cast<std::size_t>(turn++) % replies.size()];
  });
  north.Tell("devices", "{}");
  ASSERT_TRUE(Has("north", "devices", "{}"));
  for (int at = 0; at < 8; ++at) {
    const std::string answer = Get("/sites/north/api/v1/ports?mac=AA");
    EXPECT_THAT(answer, HasSubstr(" 502 ")) << at;
    EXPECT_THAT(answer, Not(HasSubstr("<script>"))) << at;
  }
}

TEST_F(CentreTest, HandsTextsOnThatNobodyCouldRead) {
  Start();
  FakeSite north(nats_.url(), "north");
  north.Tell("TrafficMonitor", "{}");
  ASSERT_TRUE(Has("north", "TrafficMonitor", "{}"));
  auto client = Connect("/sites/north/");
  Subscribe(client, "north", "TrafficMonitor", "a", R"({"interval":"1m"})");
  const std::string deep = R"({"data":{"sid":[],"x":)" + std::string(100'000, '[') + std::string(100'000, ']') + "}}";
  north.Tell("TrafficMonitor", deep);
  EXPECT_EQ(Next(client), deep) << "as it is: to read it would take as deep a stack";
  north.Tell("status", deep);
  ASSERT_TRUE(Has("north", "status", deep));
  EXPECT_EQ(StatusOf("/sites/north/api/v1/status"), 200);
}

/// Answers for a site that hears questions and answers none.
class SilentSiteTest : public CentreTest {
 protected:
  SilentSiteTest()
      : link_([this] {
          probe::uplink::UplinkSettings settings;
          settings.servers = {nats_.url()};
          settings.site = "north";
          return settings;
        }()) {
    test::AwaitConnection(link_);
    connection_ = std::make_shared<probe::centre::StreamConnection>(settings_.stream);
  }

  std::string Ask(const probe::centre::SiteAnswerer& answerer) {
    probe::HttpRequest request;
    request.path = "/api/v1/ports";
    return *answerer.Http("north", request).body;
  }

  /// How many questions the site has heard within a while.
  int Heard() {
    int heard = 0;
    while (link_.NextRequest(std::chrono::milliseconds(200))) ++heard;
    return heard;
  }

  probe::uplink::StreamLink link_;
  std::shared_ptr<probe::centre::StreamConnection> connection_;
  probe::centre::Sites sites_;
};

TEST_F(SilentSiteTest, IsNotAskedAgainForAWhile) {
  const probe::centre::SiteAnswerer answerer(
      sites_, [this] { return connection_; }, std::chrono::milliseconds(100));
  // The server may have to hear first that the site listens.
  ASSERT_TRUE(Eventually([&] { return connection_->IsConnected(); }));
  EXPECT_THAT(Ask(answerer), HasSubstr("site_away"));
  for (int at = 0; at < 20; ++at) EXPECT_THAT(Ask(answerer), HasSubstr("site_away"));
  EXPECT_LE(Heard(), 1);
}

TEST_F(SilentSiteTest, IsAskedByAFewAtATimeOnly) {
  const probe::centre::SiteAnswerer answerer(
      sites_, [this] { return connection_; }, std::chrono::seconds(1));
  ASSERT_TRUE(Eventually([&] { return connection_->IsConnected(); }));
  std::vector<std::thread> askers;
  for (std::size_t at = 0; at < 3 * probe::centre::SiteAnswerer::kMaxQuestions; ++at)
    askers.emplace_back([&] { EXPECT_THAT(Ask(answerer), HasSubstr("site_away")); });
  for (std::thread& asker : askers) asker.join();
  EXPECT_LE(Heard(), static_cast<int>(probe::centre::SiteAnswerer::kMaxQuestions));
}

TEST_F(CentreTest, SaysWhenASiteIsAway) {
  Start();
  {
    FakeSite north(nats_.url(), "north");
    north.Tell("devices", "{}");
  }
  ASSERT_TRUE(Has("north", "devices", "{}"));
  const std::string answer = Get("/sites/north/api/v1/ports?mac=AA");
  EXPECT_THAT(answer, HasSubstr(" 503 "));
  EXPECT_THAT(answer, HasSubstr("site_away"));
}

TEST_F(CentreTest, PushesTheTextsOfASite) {
  Start();
  FakeSite north(nats_.url(), "north");
  FakeSite south(nats_.url(), "south");
  north.Tell("HealthMonitor", "{}");
  south.Tell("HealthMonitor", "{}");
  ASSERT_TRUE(Has("north", "HealthMonitor", "{}") && Has("south", "HealthMonitor", "{}"));
  auto client = Connect("/sites/north/");
  Subscribe(client, "north", "HealthMonitor", "a", "{}");
  const std::string text = R"({"name":"HealthMonitor","data":{"status":[],"name":"HealthMonitor"}})";
  south.Tell("HealthMonitor", R"({"name":"HealthMonitor","data":{"status":["south"]}})");
  north.Tell("HealthMonitor", text);
  EXPECT_EQ(Next(client), text) << "and nothing of another site";
}

TEST_F(CentreTest, PushesUnderTheNamesThatItsClientsGave) {
  Start();
  FakeSite north(nats_.url(), "north");
  north.Tell("TrafficMonitor", "{}");
  ASSERT_TRUE(Has("north", "TrafficMonitor", "{}"));
  auto client = Connect("/sites/north/");
  Subscribe(client, "north", "TrafficMonitor", "mine", R"({"interval":"1m"})");
  Subscribe(client, "north", "TrafficMonitor", "too", R"({"interval":"1m"})");
  north.Tell("TrafficMonitor", R"({"name":"TrafficMonitor","data":{"1m":{"traffic_data":{},"sid":["uplink"]}}})");
  EXPECT_EQ(Next(client), R"({"name":"TrafficMonitor","data":{"1m":{"traffic_data":{},"sid":["mine","too"]}}})");
}

TEST_F(CentreTest, AsksASiteForOtherFilters) {
  Start();
  std::atomic<int> asked{0};
  FakeSite north(nats_.url(), "north", [&](const SiteRequest& request) {
    ++asked;
    return SiteReply{{},
                     R"({"name":"TrafficMonitor","data":{"5m":{"asked":)" + request.text + R"(,"sid":["latest"]}}})"};
  });
  north.Tell("TrafficMonitor", "{}");
  ASSERT_TRUE(Has("north", "TrafficMonitor", "{}"));
  auto client = Connect("/sites/north/");
  Subscribe(client, "north", "TrafficMonitor", "mine", R"({"interval":"5m","mac":"AA"})");
  auto other = Connect("/sites/north/");
  Subscribe(other, "north", "TrafficMonitor", "mine", R"({"interval":"5m","mac":"AA"})");
  north.Tell("TrafficMonitor", R"({"name":"TrafficMonitor"})");
  const std::string expected =
      R"({"name":"TrafficMonitor","data":{"5m":{"asked":{"filter":{"interval":"5m","mac":"AA"},"topic":"TrafficMonitor"},"sid":["mine"]}}})";
  EXPECT_EQ(Next(client), expected);
  EXPECT_EQ(Next(other), expected);
  EXPECT_EQ(asked, 1) << "once for both";
}

TEST_F(CentreTest, PushesTheTextsOfSitesWhileAnotherKeepsItWaiting) {
  Start();
  std::promise<void> over;
  const auto is_over = over.get_future().share();
  std::atomic<int> asked{0};
  FakeSite north(nats_.url(), "north", [&](const SiteRequest&) {
    ++asked;
    is_over.wait();
    return SiteReply{};
  });
  FakeSite south(nats_.url(), "south");
  for (FakeSite* const site : {&north, &south}) {
    site->Tell("HealthMonitor", "{}");
    site->Tell("TrafficMonitor", "{}");
  }
  ASSERT_TRUE(Has("north", "TrafficMonitor", "{}") && Has("south", "TrafficMonitor", "{}"));
  auto waiting = Connect("/sites/north/");
  Subscribe(waiting, "north", "TrafficMonitor", "a", R"({"interval":"5m"})");
  Subscribe(waiting, "north", "HealthMonitor", "a", R"({"mac":"AA"})");
  auto client = Connect("/sites/south/");
  Subscribe(client, "south", "HealthMonitor", "a", "{}");
  north.Tell("TrafficMonitor", "[1]");
  north.Tell("HealthMonitor", "[1]");
  ASSERT_TRUE(Eventually([&] { return asked > 0; }));
  south.Tell("HealthMonitor", "[2]");
  EXPECT_EQ(Next(client), "[2]");
  EXPECT_EQ(asked, 1) << "one thing at a time";
  over.set_value();
}

TEST_F(CentreTest, OpensWebsocketsOfSitesThatItKnows) {
  Start();
  FakeSite north(nats_.url(), "north");
  north.Tell("devices", "{}");
  ASSERT_TRUE(Has("north", "devices", "{}"));
  EXPECT_EQ(RefusalOf("/sites/north/"), 0U);
  EXPECT_EQ(RefusalOf("/sites/south/"), 404U);
  EXPECT_EQ(RefusalOf("/sites/north/x"), 404U);
  EXPECT_EQ(RefusalOf("/"), 404U);
}

TEST_F(CentreTest, ShowsTheHolderOfAGroupsTokenItsSitesOnly) {
  server_.token = "of-all";
  server_.named_tokens = {{"east", "of-east"}};
  settings_.groups = {{"east", {"east-*"}}};
  Start();
  FakeSite north(nats_.url(), "north");
  FakeSite east(nats_.url(), "east-1");
  for (FakeSite* site : {&north, &east}) {
    site->Tell("HealthMonitor", "{}");
    site->Tell("devices", R"({"devices":[{"mac":"02:AA","hostname":"switch","online":true}]})");
  }
  for (const char* site : {"north", "east-1"})
    ASSERT_TRUE(Has(site, "devices", R"({"devices":[{"mac":"02:AA","hostname":"switch","online":true}]})"));
  EXPECT_EQ(StatusOf("/api/v1/sites"), 401);
  EXPECT_THAT(SiteNames("of-all"), ElementsAre("east-1", "north"));
  EXPECT_THAT(SiteNames("of-east"), ElementsAre("east-1"));
  EXPECT_THAT(BodyOf("/api/v1/search?text=switch", "of-all"), HasSubstr("north"));
  EXPECT_THAT(BodyOf("/api/v1/search?text=switch", "of-east"), Not(HasSubstr("north")));
  EXPECT_EQ(StatusOf("/sites/east-1/api/v1/devices", "of-east"), 200);
  EXPECT_EQ(StatusOf("/sites/north/api/v1/devices", "of-east"), 404);
  EXPECT_EQ(StatusOf("/sites/north/api/v1/devices"), 401);
  EXPECT_EQ(BodyOf("/sites/north/api/v1/devices", "of-east"), BodyOf("/sites/nowhere/api/v1/devices", "of-east"))
      << "no telling apart what there is";
  EXPECT_EQ(BodyOf("/api/v1/targets", "of-all"), R"([{"targets":["east-1","north"]}])");
  EXPECT_EQ(BodyOf("/api/v1/targets", "of-east"), R"([{"targets":["east-1"]}])");
  EXPECT_EQ(StatusOf("/api/v1/targets"), 401);
  EXPECT_EQ(StatusOf("/sites/north/metrics", "of-east"), 404);
  EXPECT_EQ(StatusOf("/sites/north/metrics"), 401);
  EXPECT_EQ(RefusalOf("/sites/east-1/", "of-east"), 0U);
  EXPECT_EQ(RefusalOf("/sites/north/", "of-east"), 404U);
  EXPECT_EQ(RefusalOf("/sites/north/", "of-all"), 0U);
  EXPECT_EQ(RefusalOf("/sites/north/"), 401U);
}

TEST_F(CentreTest, TellsTheFiguresOfAllSitesToWhoeverMaySeeAll) {
  server_.token = "of-all";
  server_.named_tokens = {{"east", "of-east"}};
  settings_.groups = {{"east", {"east-*"}}};
  Start();
  FakeSite north(nats_.url(), "north");
  north.Tell("devices", R"({"devices":[{"mac":"AP","online":false}]})");
  ASSERT_TRUE(Has("north", "devices", R"({"devices":[{"mac":"AP","online":false}]})"));
  EXPECT_THAT(BodyOf("/metrics", "of-all"), HasSubstr("vexora_centre_texts_total{result=\"kept\"} 1\n"));
  EXPECT_THAT(BodyOf("/metrics", "of-all"), HasSubstr("vexora_site_last_heard_timestamp_seconds{site=\"north\"} "));
  EXPECT_EQ(StatusOf("/metrics", "of-east"), 403);
  EXPECT_THAT(BodyOf("/metrics", "of-east"), Not(HasSubstr("north")));
  EXPECT_EQ(StatusOf("/metrics"), 401);
}

TEST_F(CentreTest, TellsItsFiguresToEverybodyWhereNoTokenIsAskedFor) {
  Start();
  EXPECT_EQ(StatusOf("/metrics"), 200);
}

TEST_F(CentreTest, AsksForATextToSearch) {
  Start();
  EXPECT_EQ(StatusOf("/api/v1/search"), 400);
  EXPECT_EQ(StatusOf("/api/v1/search?text=a"), 400);
  EXPECT_EQ(BodyOf("/api/v1/search?text=ab"), R"({"found":[],"more":false})");
}

TEST_F(CentreTest, ServesWhileNoServerIsThere) {
  nats_.Kill();
  centre_.emplace(settings_, server_);
  centre_->Start();
  EXPECT_EQ(StatusOf("/healthz"), 503);
  EXPECT_EQ(StatusOf("/api/v1/sites"), 200);
  EXPECT_THAT(SiteNames(), IsEmpty());
  nats_.Restart();
  EXPECT_TRUE(Eventually([&] { return StatusOf("/healthz") == 200; }));
}

}  // namespace
