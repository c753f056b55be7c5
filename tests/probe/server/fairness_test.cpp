// Clients that use up what they are allowed, beside one that doesn't.

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
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

TEST_F(FairnessTest, GivesNoMoreOctetsToWhoConnectsAgainAndAgain) {
  settings.limits.bytes_per_second = 20'000;
  Serve();
  const std::string large = test::SubscribeText({"a"}) + std::string(19'000, ' ');
  const auto begin = std::chrono::steady_clock::now();
  for (int number = 0; number < 100; ++number) {
    auto client = Connect();
    // The second one begins within the octets of its connection.
    if (Ask(client, large).find("subscribed") != std::string::npos) Ask(client, large);
  }
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
  const auto read = static_cast<double>(subscriber->Requests().size() * large.size());
  EXPECT_LE(read, 20'000 * (16 + 4 * passed.count()) + static_cast<double>(large.size()));
  EXPECT_GE(read, 20'000 * 16.0);
}

TEST_F(FairnessTest, GivesNoMoreRequestsToWhoConnectsAgainAndAgain) {
  settings.limits.messages_per_second = 5;
  Serve();
  const auto begin = std::chrono::steady_clock::now();
  int refused = 0;
  for (int number = 0; number < 200; ++number) {
    test::RawClient client(server->port());
    client.Send("GET /nothing HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server->port()) + "\r\n\r\n");
    if (client.ReadHead().starts_with("HTTP/1.1 429 ")) ++refused;
  }
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(refused, 200 - 5 * (16 + 4 * passed.count()) - 1);
  EXPECT_LE(refused, 200 - 5 * 16);
}

TEST_F(FairnessTest, AnswersAQuietClientWhileOthersOfItsAddressFlood) {
  Serve();
  auto quiet = Subscribed("quiet");
  std::this_thread::sleep_for(2s);  // until the part is saved that is its own
  std::atomic<bool> is_over{false};
  std::vector<std::thread> floods;
  for (int number = 0; number < 8; ++number) {
    floods.emplace_back([&] {
      auto client = Connect();
      const std::string text = test::SubscribeText({"flood"});
      while (!is_over) {
        for (int message = 0; message < 20; ++message) client.SendText(text);
        for (int message = 0; message < 20; ++message) client.Receive(std::chrono::milliseconds(1));
      }
    });
  }
  std::this_thread::sleep_for(2s);  // until they have used up what all of them may send at once
  for (int number = 0; number < 12; ++number) {
    EXPECT_THAT(Ask(quiet, test::SubscribeText({"quiet"})), HasSubstr("subscribed"));
    std::this_thread::sleep_for(250ms);
  }
  is_over = true;
  for (std::thread& flood : floods) flood.join();
}

TEST_F(FairnessTest, LetsNewConnectionsAskWhileOthersOfTheirAddressUseUpItsRate) {
  settings.limits.messages_per_second = 10;
  ServeBodies([](const std::string&) { return probe::Access::kPublic; });
  Serve();
  const std::string request = "HEAD /x HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server->port()) + "\r\n\r\n";
  const auto is_answered = [&](test::RawClient& client) {
    client.Send(request);
    return client.ReadHead().starts_with("HTTP/1.1 200 ");
  };
  std::atomic<bool> is_over{false};
  std::atomic<int> refused{0};
  std::vector<std::jthread> others;
  for (int number = 0; number < 4; ++number) {
    others.emplace_back([&] {
      while (!is_over) {
        test::RawClient client(server->port());
        while (!is_over && is_answered(client)) std::this_thread::sleep_for(20ms);
        if (!is_over) ++refused;
        std::this_thread::sleep_for(200ms);
      }
    });
  }
  EXPECT_TRUE(test::Eventually([&] { return refused > 20; })) << "all that they may send at once is used up";
  for (int number = 0; number < 20; ++number) {
    test::RawClient client(server->port());
    EXPECT_TRUE(is_answered(client)) << number;
    std::this_thread::sleep_for(100ms);
  }
  is_over = true;
}

TEST_F(FairnessTest, AnswersWhoHasTheTokenWhileOthersOfItsAddressAskWithout) {
  settings.token = "open sesame";
  settings.limits.messages_per_second = 1;
  ServeBodies(
      [](const std::string& path) { return path == "/public" ? probe::Access::kPublic : probe::Access::kToken; });
  Serve();
  const auto status_of = [&](const std::string& path, const std::string& token) {
    test::RawClient client(server->port());
    client.Send("HEAD " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server->port()) +
                (token.empty() ? "" : "\r\nAuthorization: Bearer " + token) + "\r\n\r\n");
    return client.ReadHead().substr(9, 3);
  };
  const auto use_up = [&] {
    for (int number = 0; number < 1'000; ++number)
      if (status_of("/guarded", "") == "429") return true;
    return false;
  };
  ASSERT_TRUE(use_up());
  EXPECT_EQ(status_of("/guarded", "open sesame"), "200");
  int refused = 0;
  for (int number = 0; number < 20 && refused == 0; ++number) {
    ASSERT_TRUE(use_up());
    if (status_of("/public", "open sesame") == "429") ++refused;
  }
  EXPECT_EQ(refused, 1) << "a path for everybody tells nothing of the token";
}

}  // namespace
