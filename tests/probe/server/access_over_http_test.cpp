// Who is let in: Host, Origin, upgrades and plain requests, over real sockets.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "probe/server/net/log_rate_limiter.h"
#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using namespace std::chrono_literals;

class WebServerAccessTest : public test::Served {
 protected:
  /// The status by which a client with these headers is refused; 0 when it is let in.
  unsigned StatusFor(const std::map<std::string, std::string>& headers, const std::string& target = "/") {
    auto options = Options();
    options.headers = headers;
    options.target = target;
    try {
      probe::WebsocketClient client(options);
      ExpectServed(client);
      return 0;
    } catch (const probe::ClientError& refusal) {
      return refusal.http_status();
    }
  }

  /// The whole answer to a request of these lines.
  std::string AnswerTo(const std::string& head) {
    test::RawClient client(server->port());
    client.Send(head + "\r\n\r\n");
    return client.ReadAll();
  }

  std::string Port() const { return std::to_string(server->port()); }
};

constexpr char kHandshake[] =
    "Connection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13";

TEST_F(WebServerAccessTest, RefusesAPageOfAForeignOrigin) {
  Serve();
  auto bystander = Subscribed("bystander");
  EXPECT_EQ(StatusFor({{"Origin", "https://attacker.example"}}), 403U);
  EXPECT_EQ(StatusFor({{"Origin", "null"}}), 403U);
  EXPECT_EQ(StatusFor({{"Origin", "http://127.0.0.1:1"}}), 403U) << "another port is another origin";
  EXPECT_EQ(StatusFor({{"Origin", "http://127.0.0.1:" + Port() + ".attacker.example"}}), 403U);
  EXPECT_TRUE(IsLogged("server.allowed_origins"));
  ExpectServed(bystander);
}

TEST_F(WebServerAccessTest, LetsItsOwnPagesIn) {
  Serve();
  EXPECT_EQ(StatusFor({{"Origin", "http://127.0.0.1:" + Port()}}), 0U);
  EXPECT_EQ(StatusFor({{"Host", "localhost:" + Port()}, {"Origin", "http://localhost:" + Port()}}), 0U);
  EXPECT_EQ(StatusFor({{"Host", "localhost:" + Port()}, {"Origin", "http://127.0.0.1:" + Port()}}), 403U)
      << "a page of one name, a request to another";
}

TEST_F(WebServerAccessTest, LetsPagesOfAnAllowedOriginIn) {
  settings.allowed_origins = {"https://Desk.example"};
  Serve();
  EXPECT_EQ(StatusFor({{"Origin", "https://desk.example"}}), 0U);
  EXPECT_EQ(StatusFor({{"Origin", "http://desk.example"}}), 403U);
}

TEST_F(WebServerAccessTest, RefusesAForeignHostName) {
  Serve();
  EXPECT_EQ(StatusFor({{"Host", "attacker.example"}}), 421U);
  EXPECT_EQ(StatusFor({{"Host", "attacker.example:" + Port()}}), 421U);
  EXPECT_EQ(StatusFor({{"Host", "127.0.0.1:1"}}), 421U) << "not our port";
  EXPECT_EQ(StatusFor({{"Host", "127.0.0.1.attacker.example:" + Port()}}), 421U);
  EXPECT_TRUE(IsLogged("server.allowed_hosts"));
}

TEST_F(WebServerAccessTest, AnswersToItsOwnNames) {
  settings.allowed_hosts = {"probe.example"};
  Serve();
  for (const char* host : {"127.0.0.1", "localhost", "[::1]", "Probe.Example"}) {
    EXPECT_EQ(StatusFor({{"Host", host}}), 0U) << host;
    EXPECT_EQ(StatusFor({{"Host", host + (":" + Port())}}), 0U) << host;
  }
}

TEST_F(WebServerAccessTest, RefusesARequestWithoutHost) {
  Serve();
  EXPECT_THAT(AnswerTo(std::string("GET / HTTP/1.1\r\nUpgrade: websocket\r\n") + kHandshake),
              AllOf(HasSubstr(" 400 "), HasSubstr("exactly one Host header")));
  EXPECT_THAT(AnswerTo("GET / HTTP/1.1"), HasSubstr(" 400 "));
  EXPECT_THAT(AnswerTo("GET / HTTP/1.0"), HasSubstr(" 403 "));
}

TEST_F(WebServerAccessTest, RefusesARequestWithTwoHostsOrTwoOrigins) {
  Serve();
  const std::string host = "Host: 127.0.0.1:" + Port() + "\r\n";
  const std::string origin = "Origin: http://127.0.0.1:" + Port() + "\r\n";
  const std::string begin = "GET / HTTP/1.1\r\nUpgrade: websocket\r\n";
  EXPECT_THAT(AnswerTo(begin + host + "Host: attacker.example\r\n" + kHandshake), HasSubstr(" 400 "));
  EXPECT_THAT(AnswerTo(begin + host + origin + "Origin: http://attacker.example\r\n" + kHandshake), HasSubstr(" 403 "));
  EXPECT_THAT(AnswerTo(begin + host + "Origin: " + std::string(2000, 'x') + "\r\n" + kHandshake), HasSubstr(" 403 "));
}

TEST_F(WebServerAccessTest, RefusesEveryUpgradeButWebsocket) {
  Serve();
  auto bystander = Subscribed("bystander");
  const std::string host = "Host: 127.0.0.1:" + Port() + "\r\n";
  const std::string h2c = AnswerTo("GET / HTTP/1.1\r\n" + host +
                                   "Connection: Upgrade, HTTP2-Settings\r\nUpgrade: h2c\r\nHTTP2-Settings: AAMAAABk");
  EXPECT_THAT(h2c, AllOf(HasSubstr(" 403 "), Not(HasSubstr("101"))));
  EXPECT_THAT(AnswerTo("GET / HTTP/1.1\r\n" + host + "Connection: Upgrade\r\nUpgrade: TLS/1.0"), HasSubstr(" 403 "));
  EXPECT_THAT(AnswerTo("GET / HTTP/1.1\r\n" + host + "Connection: Upgrade\r\nUpgrade: websocket, h2c"),
              HasSubstr(" 403 "));
  ExpectServed(bystander);
}

TEST_F(WebServerAccessTest, SpeaksNoHttp2WithoutAnUpgradeEither) {
  Serve();
  test::RawClient client(server->port());
  client.Send("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n" + std::string("\0\0\0\4\0\0\0\0\0", 9));
  EXPECT_THAT(client.ReadAll(), Not(HasSubstr(std::string("\0\0", 2))));
}

TEST_F(WebServerAccessTest, IsNoProxy) {
  Serve();
  EXPECT_THAT(AnswerTo("CONNECT attacker.example:443 HTTP/1.1\r\nHost: 127.0.0.1:" + Port()), Not(HasSubstr(" 200 ")));
  EXPECT_THAT(AnswerTo("GET http://attacker.example/ HTTP/1.1\r\nHost: 127.0.0.1:" + Port()), Not(HasSubstr(" 200 ")));
}

TEST_F(WebServerAccessTest, RefusesAHandshakeThatIsNone) {
  Serve();
  const std::string begin = " / HTTP/1.1\r\nHost: 127.0.0.1:" + Port() + "\r\nUpgrade: websocket\r\n";
  EXPECT_THAT(AnswerTo("POST" + begin + kHandshake), HasSubstr(" 400 "));
  EXPECT_THAT(AnswerTo("GET" + begin + "Connection: close"), HasSubstr(" 400 "));
  const std::string old = AnswerTo("GET" + begin + "Connection: Upgrade\r\nSec-WebSocket-Version: 8");
  EXPECT_THAT(old, AllOf(HasSubstr(" 426 "), HasSubstr("sec-websocket-version: 13")));
  EXPECT_EQ(StatusFor({}, "/elsewhere"), 404U);
}

TEST_F(WebServerAccessTest, TellsAPlainRequestThatThisIsAWebsocket) {
  Serve();
  const std::string host = "\r\nHost: 127.0.0.1:" + Port();
  EXPECT_THAT(AnswerTo("GET / HTTP/1.1" + host), AllOf(HasSubstr(" 426 "), HasSubstr("upgrade: websocket")));
  EXPECT_THAT(AnswerTo("GET /index.html HTTP/1.1" + host), HasSubstr(" 404 "));
  EXPECT_THAT(AnswerTo("GET / HTTP/1.1" + host + "\r\nOrigin: http://attacker.example"), HasSubstr(" 403 "));
}

TEST_F(WebServerAccessTest, AsksForItsToken) {
  settings.token = "open sesame";
  Serve();
  EXPECT_EQ(StatusFor({}), 401U);
  EXPECT_EQ(StatusFor({{"Authorization", "Bearer open sesam"}}), 401U);
  EXPECT_EQ(StatusFor({{"Authorization", "Bearer open sesame."}}), 401U);
  EXPECT_EQ(StatusFor({{"Authorization", "Basic open sesame"}}), 401U);
  EXPECT_EQ(StatusFor({}, "/?token=open"), 401U);
  EXPECT_EQ(StatusFor({}, "/?token="), 401U);
  EXPECT_EQ(StatusFor({{"Authorization", "Bearer open sesame"}}), 0U);
  EXPECT_EQ(StatusFor({{"Authorization", "bearer open sesame"}}), 0U) << "RFC 9110: schemes have no case";
  EXPECT_EQ(StatusFor({}, "/?token=open%20sesame"), 401U) << "URLs end up in histories and logs";
}

class LoginTest : public WebServerAccessTest {
 protected:
  LoginTest() {
    settings.token = "open sesame";
    settings.allowed_origins = {"https://desk.example"};
  }

  probe::WebsocketClient Page() {
    auto options = Options();
    options.headers = {{"Origin", "https://desk.example"}};
    return probe::WebsocketClient(options);
  }

  /// The close code that the client gets after what it has been sent.
  static int CloseCodeOf(probe::WebsocketClient& client) {
    while (client.Receive(5s) || !client.close_reason()) continue;
    return client.close_reason().value_or(probe::CloseReason{}).code;
  }
};

TEST_F(LoginTest, LetsAPageOfAnAllowedOriginInByItsFirstMessage) {
  Serve();
  auto page = Page();
  EXPECT_EQ(Ask(page, R"({"token":"open sesame"})"), R"({"logged_in":true})");
  EXPECT_THAT(Ask(page, test::SubscribeText({"a"})), HasSubstr("subscribed"));
  EXPECT_THAT(Ask(page, R"({"token":"open sesame"})"), HasSubstr("unknown_message")) << "once";
}

TEST_F(LoginTest, IsLookedAtAlsoWhenOthersOfItsAddressHaveUsedUpItsRate) {
  settings.limits.messages_per_second = 1;
  Serve();
  probe::ClientOptions options = Options();
  options.headers["Authorization"] = "Bearer open sesame";
  std::string answer;
  for (int number = 0; number < 200 && answer.find("All connections of one address") == std::string::npos; ++number) {
    probe::WebsocketClient other(options);
    answer = Ask(other, "{}");
  }
  EXPECT_THAT(answer, HasSubstr("too_fast"));
  auto page = Page();
  EXPECT_EQ(Ask(page, R"({"token":"open sesame"})"), R"({"logged_in":true})");
}

TEST_F(LoginTest, ServesNothingBefore) {
  Serve();
  for (const std::string& first : {test::SubscribeText({"a"}), std::string("{}"), std::string(R"({"token":7})"),
                                   std::string(R"({"token":"open sesame","x":1})"), std::string(R"({"token":"open"})"),
                                   std::string(70'000, ' ')}) {
    auto page = Page();
    EXPECT_THAT(Ask(page, first), HasSubstr("unauthorized")) << first.substr(0, 50);
    EXPECT_EQ(CloseCodeOf(page), 1008);
  }
  EXPECT_TRUE(subscriber->Requests().empty());
}

TEST_F(LoginTest, IsForPagesOfAllowedOriginsOnly) {
  Serve();
  EXPECT_EQ(StatusFor({}), 401U);
  EXPECT_EQ(StatusFor({{"Origin", "http://127.0.0.1:" + Port()}}), 401U) << "our own pages have a session";
  EXPECT_EQ(StatusFor({{"Origin", "https://desk.example"}, {"Authorization", "Bearer wrong"}}), 401U);
  EXPECT_EQ(StatusFor({{"Origin", "https://desk.example"}, {"Authorization", "Bearer open sesame"}}), 0U)
      << "who shows it in the handshake has done so";
}

TEST_F(LoginTest, CountsWrongTokens) {
  Serve();
  for (int number = 0; number < 10; ++number) {
    auto page = Page();
    EXPECT_THAT(Ask(page, R"({"token":"guess"})"), HasSubstr("unauthorized"));
  }
  EXPECT_EQ(StatusFor({{"Authorization", "Bearer open sesame"}}), 429U) << "the same count as elsewhere";
  auto page = Page();
  EXPECT_THAT(Ask(page, R"({"token":"open sesame"})"), HasSubstr("unauthorized")) << "nor does the right one tell";
}

TEST_F(LoginTest, MustComeInTimeAndHoldsAQuarterOfThePlacesAtMost) {
  settings.limits.connections_per_address = 8;
  Serve();
  auto first = Page();
  auto second = Page();
  EXPECT_EQ(StatusFor({{"Origin", "https://desk.example"}}), 429U);
  EXPECT_EQ(StatusFor({{"Authorization", "Bearer open sesame"}}), 0U) << "who logs in otherwise is served";
  EXPECT_EQ(Ask(second, R"({"token":"open sesame"})"), R"({"logged_in":true})");
  auto third = Page();
  const auto begin = std::chrono::steady_clock::now();
  while (first.Receive(12s)) continue;
  EXPECT_EQ(first.close_reason().value_or(probe::CloseReason{}).code, 1008);
  EXPECT_LE(std::chrono::steady_clock::now() - begin, 11s);
}

TEST_F(WebServerAccessTest, ChecksTheOriginBeforeTheToken) {
  settings.token = "secret";
  Serve();
  EXPECT_EQ(StatusFor({{"Origin", "http://attacker.example"}, {"Authorization", "Bearer secret"}}), 403U);
  EXPECT_EQ(StatusFor({{"Origin", "http://attacker.example"}}), 403U);
}

TEST_F(WebServerAccessTest, ReadsNoHeaderOnlyUpToANul) {
  settings.token = "secret";
  Serve();
  const std::string begin = "GET / HTTP/1.1\r\nUpgrade: websocket\r\n" + std::string(kHandshake) + "\r\n";
  const std::string host = "Host: 127.0.0.1:" + Port();
  const std::string bearer = "\r\nAuthorization: Bearer secret";
  const std::string tail("\0.attacker.example", 18);
  EXPECT_THAT(AnswerTo(begin + host + tail + bearer), HasSubstr(" 400 "));
  EXPECT_THAT(AnswerTo(begin + host + "\r\nOrigin: http://127.0.0.1:" + Port() + tail + bearer), HasSubstr(" 400 "));
  EXPECT_THAT(AnswerTo(begin + host + bearer + tail), HasSubstr(" 400 "));
  EXPECT_EQ(StatusFor({}, "/?view=x%00"), 400U);
}

TEST_F(WebServerAccessTest, LogsNoMoreThanAFewOversizedHeadsAMinute) {
  Serve();
  const std::string oversized = "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nCookie: " + std::string(20'000, 'x');
  for (int i = 0; i < 40; ++i) EXPECT_THAT(AnswerTo(oversized), StartsWith("HTTP/1.1 431 "));
  EXPECT_THAT(log.Texts(probe::log::Level::kInfo, "was refused"),
              ::testing::SizeIs(probe::LogRateLimiter::kLinesAMinute));
}

TEST_F(WebServerAccessTest, LogsNoMoreThanAFewRefusalsAMinute) {
  Serve();
  for (int i = 0; i < 40; ++i) EXPECT_EQ(StatusFor({{"Origin", "http://attacker.example"}}), 403U);
  EXPECT_THAT(log.Texts(probe::log::Level::kInfo, "was refused"), ::testing::SizeIs(20));
}

TEST_F(WebServerAccessTest, LogsNothingThatAStrangerWrote) {
  Serve();
  StatusFor({{"Origin", "http://attacker.example"}});
  StatusFor({{"Host", "attacker.example"}});
  AnswerTo("GET /attacker.example HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: attacker.example\r\nUpgrade: websocket");
  for (const auto& line : log.Lines()) EXPECT_THAT(line.text, Not(HasSubstr("attacker")));
}

}  // namespace
