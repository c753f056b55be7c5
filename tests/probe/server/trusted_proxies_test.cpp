// Reverse proxies that name the clients for whom they ask.

#include "probe/server/net/trusted_proxies.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using probe::TrustedProxies;
using ::testing::StartsWith;

TEST(TrustedProxies, HoldsAddressesAndNetworksOfBothKinds) {
  const TrustedProxies proxies({"127.0.0.1", "10.1.0.0/16", "2001:db8::/32", "::1"});
  for (const char* const address : {"127.0.0.1", "10.1.255.255", "2001:db8:ffff::1", "::1"})
    EXPECT_TRUE(proxies.Contains(address)) << address;
  for (const char* const address : {"127.0.0.2", "10.2.0.0", "2001:db9::1", "::2", "", "unknown"})
    EXPECT_FALSE(proxies.Contains(address)) << address;
  EXPECT_FALSE(TrustedProxies().Contains("127.0.0.1"));
  const TrustedProxies half({"192.0.2.1/1"});
  EXPECT_TRUE(half.Contains("203.0.113.1"));
  EXPECT_FALSE(half.Contains("10.0.0.1"));
  EXPECT_FALSE(half.Contains("2001:db8::1"));
  EXPECT_TRUE(TrustedProxies({"::ffff:192.0.2.1"}).Contains("192.0.2.1"));
}

TEST(TrustedProxies, KnowsWhatIsANetwork) {
  for (const char* const text : {"192.0.2.1", "192.0.2.0/24", "::1", "2001:db8::/128", "0.0.0.0/1", "::ffff:192.0.2.1"})
    EXPECT_TRUE(TrustedProxies::IsNetwork(text)) << text;
  for (const char* const text :
       {"", "proxy.example", "192.0.2.1/33", "192.0.2.0/", "/24", "192.0.2.0/x", "::/129", "192.0.2.1:80", "1.2.3",
        "0.0.0.0/0", "::/0", "10.0.0.0/4294967296", "10.0.0.0/+8", "10.0.0.0/8 ", "::ffff:10.0.0.0/104", "fe80::%1/64"})
    EXPECT_FALSE(TrustedProxies::IsNetwork(text)) << text;
}

TEST(TrustedProxies, TakesTheLastAddressThatIsNoProxys) {
  const TrustedProxies proxies({"127.0.0.1", "10.0.0.0/8"});
  const auto client = [&](const char* forwarded) { return proxies.ClientOf("127.0.0.1", forwarded); };
  EXPECT_EQ(client("192.0.2.7"), "192.0.2.7");
  EXPECT_EQ(client("203.0.113.9, 192.0.2.7"), "192.0.2.7") << "what stands before it, anybody may have written";
  EXPECT_EQ(client("192.0.2.7, 10.0.0.2 ,10.0.0.1"), "192.0.2.7") << "proxies behind one another";
  EXPECT_EQ(client("10.0.0.2"), "10.0.0.2") << "a proxy asks for itself";
  EXPECT_EQ(client(""), "127.0.0.1");
  EXPECT_EQ(client("2001:DB8::1"), "2001:db8::1");
}

TEST(TrustedProxies, PassesPortsOver) {
  const TrustedProxies proxies({"127.0.0.1"});
  EXPECT_EQ(proxies.ClientOf("127.0.0.1", "192.0.2.7:50000"), "192.0.2.7");
  EXPECT_EQ(proxies.ClientOf("127.0.0.1", "[2001:db8::1]:50000"), "2001:db8::1");
  EXPECT_EQ(proxies.ClientOf("127.0.0.1", "[2001:db8::1]"), "2001:db8::1");
}

TEST(TrustedProxies, TakesTheProxyForWhatIsNoAddress) {
  const TrustedProxies proxies({"127.0.0.1", "10.0.0.1"});
  for (const char* const forwarded : {"unknown", "192.0.2.7, unknown", "192.0.2.7,", "[", "[]", ":", "fe80::1%eth0"})
    EXPECT_EQ(proxies.ClientOf("127.0.0.1", forwarded), "127.0.0.1") << forwarded;
  EXPECT_EQ(proxies.ClientOf("127.0.0.1", "unknown, 10.0.0.1"), "10.0.0.1");
}

class ProxiedTest : public test::Served {
 protected:
  ProxiedTest() {
    settings.trusted_proxies = {"127.0.0.1"};
    ServeBodies([](const std::string&) { return probe::Access::kToken; });
  }

  static std::string For(const std::string& client) { return "X-Forwarded-For: " + client + "\r\n"; }

  std::string Request(const std::string& headers) const {
    return "HEAD /something HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server->port()) + "\r\n" + headers + "\r\n";
  }

  /// The head of the answer to a request with these headers, which comes over a connection of its own.
  std::string AnswerTo(const std::string& headers) const {
    test::RawClient proxy(server->port());
    proxy.Send(Request(headers));
    return proxy.ReadHead();
  }
};

TEST_F(ProxiedTest, CountsWebsocketsForTheirClients) {
  settings.limits.connections_per_address = 2;
  Serve();
  std::vector<std::unique_ptr<test::RawClient>> open;
  const auto upgrade = [&](const std::string& headers) {
    open.push_back(std::make_unique<test::RawClient>(server->port()));
    return open.back()->Upgrade(headers);
  };
  for (const char* const client : {"192.0.2.1", "192.0.2.1", "192.0.2.2", "192.0.2.2", "203.0.113.1, 192.0.2.3"})
    EXPECT_THAT(upgrade(For(client)), StartsWith("HTTP/1.1 101 ")) << client;
  EXPECT_THAT(upgrade(For("192.0.2.1")), StartsWith("HTTP/1.1 429 "));
  EXPECT_THAT(upgrade(For("203.0.113.2, 192.0.2.1")), StartsWith("HTTP/1.1 429 ")) << "whatever it says of itself";
  EXPECT_TRUE(IsLogged("192.0.2.1")) << "the log names the client";
  open.front()->Reset();
  EXPECT_TRUE(test::Eventually([&] { return upgrade(For("192.0.2.1")).starts_with("HTTP/1.1 101 "); }));
}

TEST_F(ProxiedTest, CountsTheProxyWhereItNamesNobody) {
  settings.limits.connections_per_address = 1;
  Serve();
  test::RawClient first(server->port());
  EXPECT_THAT(first.Upgrade(), StartsWith("HTTP/1.1 101 "));
  test::RawClient second(server->port());
  EXPECT_THAT(second.Upgrade(), StartsWith("HTTP/1.1 429 "));
}

TEST_F(ProxiedTest, BelievesNobodyElse) {
  settings.trusted_proxies = {"192.0.2.100", "127.0.0.2"};
  settings.limits.connections_per_address = 1;
  Serve();
  test::RawClient first(server->port());
  EXPECT_THAT(first.Upgrade(For("192.0.2.1")), StartsWith("HTTP/1.1 101 "));
  test::RawClient second(server->port());
  EXPECT_THAT(second.Upgrade(For("192.0.2.2")), StartsWith("HTTP/1.1 429 "));
  EXPECT_FALSE(IsLogged("192.0.2."));
}

TEST_F(ProxiedTest, CountsWrongTokensForTheirClients) {
  settings.token = "a token of some length";
  Serve();
  const std::string wrong = "Authorization: Bearer guess\r\n";
  const std::string right = "Authorization: Bearer a token of some length\r\n";
  for (int number = 0; number < 10; ++number)
    EXPECT_THAT(AnswerTo(For("192.0.2.1") + wrong), StartsWith("HTTP/1.1 401 "));
  EXPECT_THAT(AnswerTo(For("192.0.2.1") + right), StartsWith("HTTP/1.1 429 "));
  EXPECT_THAT(AnswerTo(For("192.0.2.2") + wrong), StartsWith("HTTP/1.1 401 "));
  EXPECT_THAT(AnswerTo(For("192.0.2.2") + right), StartsWith("HTTP/1.1 200 "));
}

TEST_F(ProxiedTest, CountsRequestsForTheirClients) {
  settings.limits.messages_per_second = 2;
  Serve();
  test::RawClient proxy(server->port());
  for (int number = 1; number < 20; ++number) {
    proxy.Send(Request(For("192.0.2." + std::to_string(number))));
    EXPECT_THAT(proxy.ReadHead(), StartsWith("HTTP/1.1 200 ")) << "on one connection, each for another";
  }
  int refused = 0;
  for (int number = 0; number < 100; ++number)
    refused += AnswerTo(For("192.0.2.1")).starts_with("HTTP/1.1 429 ") ? 1 : 0;
  EXPECT_GT(refused, 0) << "connections of one client share its rates";
  EXPECT_THAT(AnswerTo(For("192.0.2.200")), StartsWith("HTTP/1.1 200 "));
}

TEST_F(ProxiedTest, GivesAPlaceToWhoIsLetInOnly) {
  settings.token = "a token of some length";
  settings.limits.connections_per_address = 1;
  Serve();
  std::vector<std::unique_ptr<test::RawClient>> refused;
  for (int number = 0; number < 5; ++number) {
    refused.push_back(std::make_unique<test::RawClient>(server->port()));
    EXPECT_THAT(refused.back()->Upgrade(For("192.0.2.1")), StartsWith("HTTP/1.1 401 "));
  }
  test::RawClient client(server->port());
  EXPECT_THAT(client.Upgrade(For("192.0.2.1") + "Authorization: Bearer a token of some length\r\n"),
              StartsWith("HTTP/1.1 101 "))
      << "those are still connected";
}

TEST_F(ProxiedTest, BoundsTheUnfinishedRequestsOfAProxyByAllPlaces) {
  settings.limits.connections = 40;
  settings.limits.connections_per_address = 4;
  Serve();
  std::vector<std::unique_ptr<test::RawClient>> half_open;
  for (int number = 0; number < 11; ++number) {
    half_open.push_back(std::make_unique<test::RawClient>(server->port()));
    half_open.back()->Send("GET / HTTP/1.1\r\nHost: 127.0");
  }
  EXPECT_EQ(half_open.front()->ReadAll(), "") << "the oldest has gone";
  half_open[1]->Send(".0.1:" + std::to_string(server->port()) + "\r\n" + For("192.0.2.1") + "\r\n");
  EXPECT_THAT(half_open[1]->ReadHead(), StartsWith("HTTP/1.1 200 "));
}

TEST_F(ProxiedTest, LogsWhatCannotBeReadUnderTheProxy) {
  Serve();
  test::RawClient proxy(server->port());
  proxy.Send(Request(For("192.0.2.1")));
  EXPECT_THAT(proxy.ReadHead(), StartsWith("HTTP/1.1 200 "));
  proxy.Send("GET / HTTP/1.1\r\nCookie: " + std::string(9'000, 'x'));
  EXPECT_THAT(proxy.ReadHead(), StartsWith("HTTP/1.1 431 "));
  EXPECT_TRUE(IsLogged("a client at 127.0.0.1 was refused: 431"));
  EXPECT_FALSE(IsLogged("192.0.2.1"));
}

TEST_F(ProxiedTest, LetsAProxyKeepConnectionsForLater) {
  settings.limits.connections_per_address = 4;
  Serve();
  std::vector<std::unique_ptr<test::RawClient>> kept;
  for (int number = 0; number < 20; ++number) kept.push_back(std::make_unique<test::RawClient>(server->port()));
  for (auto& connection : kept) {
    connection->Send(Request(For("192.0.2.1")));
    EXPECT_THAT(connection->ReadHead(), StartsWith("HTTP/1.1 200 "));
  }
}

TEST_F(ProxiedTest, ComesWithAReload) {
  settings.trusted_proxies = {};
  settings.limits.connections_per_address = 1;
  Serve();
  settings.trusted_proxies = {"127.0.0.0/8"};
  server->PrepareReload(settings)();
  test::RawClient first(server->port());
  EXPECT_THAT(first.Upgrade(For("192.0.2.1")), StartsWith("HTTP/1.1 101 "));
  test::RawClient second(server->port());
  EXPECT_THAT(second.Upgrade(For("192.0.2.2")), StartsWith("HTTP/1.1 101 "));
}

TEST(TrustedProxies, LetNoOneGuessAShortToken) {
  probe::ServerSettings settings;
  settings.token = "short";
  EXPECT_EQ(probe::WhyUnsafe(settings), "");
  settings.trusted_proxies = {"127.0.0.1"};
  EXPECT_THAT(probe::WhyUnsafe(settings), StartsWith("server.token must have at least 16 octets"));
}

}  // namespace
