// Clients that use up what they are allowed, beside one that doesn't.

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class FairnessTest : public test::Served {};

TEST_F(FairnessTest, LooksAtNoMoreOctetsOfAClientThanAllowed) {
  settings.limits.messages_per_second = 1'000;
  settings.limits.bytes_per_second = 100'000;
  Serve();
  auto client = Connect();
  // Valid subscriptions, replaced again and again: what is beyond the octets is not even read.
  const std::string large =
      test::SubscribeText({std::string(200, 'a'), std::string(200, 'b')}) + std::string(30'000, ' ');
  const auto begin = std::chrono::steady_clock::now();
  for (int number = 0; number < 40; ++number) client.SendText(large);
  std::string answer;
  std::size_t subscribed = 0;
  while ((answer = Next(client)).find("too_fast") == std::string::npos) ++subscribed;
  EXPECT_THAT(answer, HasSubstr("limits.bytes_per_second = 100000"));
  EXPECT_GE(subscribed, 3U);
  const auto read = static_cast<double>(subscriber->Requests().size() * large.size());
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
  EXPECT_LE(read, 100'000 * (1 + passed.count()) + static_cast<double>(large.size()));
  std::this_thread::sleep_for(2s);  // until octets are left again
  client.SendText("{}");
  while ((answer = Next(client)).find("unknown_message") == std::string::npos)
    ASSERT_THAT(answer, ::testing::AnyOf(HasSubstr("too_fast"), HasSubstr("subscribed"))) << "to what came before";
}

TEST_F(FairnessTest, TakesAnHonestPageWithAllItsSubscriptionsAtOnce) {
  Serve();
  auto client = Connect();
  std::vector<std::string> sids;
  for (int number = 0; number < 16; ++number) sids.push_back(std::string(200, 'a') + std::to_string(number));
  for (int number = 0; number < 10; ++number)
    EXPECT_THAT(Ask(client, test::SubscribeText(sids)), HasSubstr("subscribed"));
}

TEST_F(FairnessTest, LetsConnectionsWithoutARequestHaveAQuarterOfThePlaces) {
  settings.limits.connections_per_address = 32;
  Serve();
  std::vector<std::unique_ptr<test::RawClient>> half_open;
  for (int number = 0; number < 100; ++number) {
    half_open.push_back(std::make_unique<test::RawClient>(server->port()));
    half_open.back()->Send("GET / HTTP/1.1\r\nHost: 127.0");
  }
  auto client = Subscribed("a");
  ExpectServed(client);
  EXPECT_EQ(half_open.front()->ReadAll(), "") << "the oldest has gone";
  EXPECT_TRUE(IsLogged("has begun 8 requests and finished none"));
  half_open.back()->Send(".0.1:" + std::to_string(server->port()) + "\r\n\r\n");
  EXPECT_THAT(half_open.back()->ReadHead(), StartsWith("HTTP/1.1 426 ")) << "the newest may go on";
}

TEST_F(FairnessTest, GivesAllPlacesToThoseWhoFinishTheirRequests) {
  settings.limits.connections_per_address = 8;
  Serve();
  std::vector<probe::WebsocketClient> clients;
  for (int number = 0; number < 8; ++number) clients.push_back(Subscribed("s" + std::to_string(number)));
  for (auto& client : clients) ExpectServed(client);
}

}  // namespace
