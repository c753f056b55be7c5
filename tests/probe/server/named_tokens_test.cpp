// Tokens for some who may see a part of what a server has.

#include <gmock/gmock.h>

#include <map>
#include <string>

#include "probe/host/connection_id.h"
#include "probe/server/http/token_holders.h"
#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using probe::ServerSettings;
using probe::TokenHolders;
using ::testing::HasSubstr;
using ::testing::Optional;

ServerSettings WithTokens(const std::string& token, const std::map<std::string, std::string>& named) {
  ServerSettings settings;
  settings.token = token;
  for (const auto& [name, of_name] : named) settings.named_tokens.push_back({name, of_name});
  return settings;
}

TEST(TokenHolders, KnowsEachByItsToken) {
  const TokenHolders holders(WithTokens("of-all", {{"east", "of-east"}, {"west", "of-west"}}));
  EXPECT_TRUE(holders.are_asked());
  EXPECT_THAT(holders.OfToken("of-all"), Optional(std::string()));
  EXPECT_THAT(holders.OfToken("of-east"), Optional(std::string("east")));
  EXPECT_THAT(holders.OfToken("of-west"), Optional(std::string("west")));
  EXPECT_EQ(holders.OfToken("of-nobody"), std::nullopt);
  EXPECT_EQ(holders.OfToken(""), std::nullopt);
}

TEST(TokenHolders, AsksForNoneWhereThereIsNone) {
  const TokenHolders holders{ServerSettings()};
  EXPECT_FALSE(holders.are_asked());
  EXPECT_EQ(holders.OfToken(""), std::nullopt);
  EXPECT_EQ(holders.SessionOf(""), "");
  EXPECT_EQ(holders.OfSession(""), std::nullopt);
}

TEST(TokenHolders, AsksEverybodyWhereOnlySomeHaveOne) {
  const TokenHolders holders(WithTokens("", {{"east", "of-east"}}));
  EXPECT_TRUE(holders.are_asked());
  EXPECT_EQ(holders.OfToken(""), std::nullopt);
}

TEST(TokenHolders, KnowsEachByItsSession) {
  const TokenHolders holders(WithTokens("of-all", {{"east", "of-east"}}));
  EXPECT_THAT(holders.OfSession(holders.SessionOf("east")), Optional(std::string("east")));
  EXPECT_THAT(holders.OfSession(holders.SessionOf("")), Optional(std::string()));
  EXPECT_NE(holders.SessionOf("east"), holders.SessionOf(""));
  EXPECT_EQ(holders.OfSession(""), std::nullopt);
}

TEST(TokenHolders, KeepsTheSessionsOfTokensThatStay) {
  const TokenHolders former(WithTokens("of-all", {{"east", "of-east"}, {"west", "of-west"}}));
  TokenHolders same(WithTokens("of-all", {{"east", "of-east"}, {"west", "of-west"}}));
  EXPECT_TRUE(same.KeepSessionsOf(former));
  TokenHolders other(WithTokens("of-all", {{"east", "of-east"}, {"west", "another"}}));
  EXPECT_FALSE(other.KeepSessionsOf(former));
  EXPECT_EQ(other.SessionOf("east"), former.SessionOf("east"));
  EXPECT_NE(other.SessionOf("west"), former.SessionOf("west"));
  TokenHolders fewer(WithTokens("of-all", {{"east", "of-east"}}));
  EXPECT_FALSE(fewer.KeepSessionsOf(former)) << "who had the third is to go";
}

TEST(NamedTokens, MustBeAsStrongAsTheOthersWhereOtherMachinesCanTryThem) {
  ServerSettings settings = WithTokens("0123456789abcdef", {{"east", "short"}});
  EXPECT_EQ(probe::WhyUnsafe(settings), "");
  settings.listen = {"0.0.0.0"};
  settings.tls_certificate = settings.tls_key = "file.pem";
  EXPECT_THAT(probe::WhyUnsafe(settings), HasSubstr("the token of \"east\" must have at least 16 octets"));
  EXPECT_EQ(probe::WhyUnsafe([&] {
              ServerSettings named = settings;
              named.token = "";
              named.named_tokens = {{"east", "0123456789abcdef"}};
              return named;
            }()),
            "");
}

class NamedTokenTest : public test::Served {
 protected:
  NamedTokenTest() {
    settings.token = "of-all";
    settings.named_tokens = {{"east", "of-east"}};
    http.look_up = [](const std::string&) { return probe::Access::kToken; };
    http.answer = [](const probe::HttpRequest& request) {
      probe::HttpAnswer answer;
      answer.body = std::make_shared<const std::string>("for <" + request.holder + ">");
      answer.opens_session = true;
      return answer;
    };
    http.topics_at = [](const std::string& path, const std::string& holder) -> std::optional<std::string> {
      if (path == "/north" && (holder.empty() || holder == "north")) return "north/";
      if (path == "/east" && (holder.empty() || holder == "east")) return "east/";
      return std::nullopt;
    };
    service.AddSubscriber("east/Topic", east_);
  }

  std::string AnswerTo(const std::string& header) {
    test::RawClient client(server->port());
    client.Send("GET /x HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" + header + "\r\n\r\n");
    return client.ReadAll();
  }

  probe::ClientOptions OptionsFor(const std::string& path, const std::string& token) const {
    auto options = Options();
    options.target = path;
    if (!token.empty()) options.headers["Authorization"] = "Bearer " + token;
    return options;
  }

  unsigned StatusFor(const std::string& path, const std::string& token) {
    try {
      const probe::WebsocketClient client(OptionsFor(path, token));
      return 0;
    } catch (const probe::ClientError& refusal) {
      return refusal.http_status();
    }
  }

  std::shared_ptr<test::RecordingSubscriber> east_ = std::make_shared<test::RecordingSubscriber>();
};

TEST_F(NamedTokenTest, TellTheServiceWhoAsks) {
  Serve();
  EXPECT_THAT(AnswerTo("Authorization: Bearer of-all"), HasSubstr("for <>"));
  const std::string answer = AnswerTo("Authorization: Bearer of-east");
  EXPECT_THAT(answer, HasSubstr("for <east>"));
  const auto cookie =
      answer.find("et-cookie: ") == std::string::npos ? answer.find("et-Cookie: ") : answer.find("et-cookie: ");
  ASSERT_NE(cookie, std::string::npos) << answer;
  const std::string session = answer.substr(cookie + 11, answer.find(';', cookie) - cookie - 11);
  EXPECT_THAT(AnswerTo("Cookie: " + session), HasSubstr("for <east>"));
  EXPECT_THAT(AnswerTo("Authorization: Bearer nobody"), HasSubstr(" 401 "));
}

TEST_F(NamedTokenTest, OpenTheWebsocketsOfTheirHolderOnly) {
  Serve();
  EXPECT_EQ(StatusFor("/east", "of-east"), 0U);
  EXPECT_EQ(StatusFor("/east", "of-all"), 0U);
  EXPECT_EQ(StatusFor("/north", "of-all"), 0U);
  EXPECT_EQ(StatusFor("/north", "of-east"), 404U);
  EXPECT_EQ(StatusFor("/", "of-all"), 404U);
}

TEST_F(NamedTokenTest, AreAskedForBeforeItIsToldWhichWebsocketsThereAre) {
  settings.allowed_origins = {"https://desk.example"};
  Serve();
  EXPECT_EQ(StatusFor("/north", ""), 401U);
  EXPECT_EQ(StatusFor("/nowhere", ""), 401U);
  auto foreign = OptionsFor("/north", "");
  foreign.headers["Origin"] = "https://desk.example";
  EXPECT_THROW(probe::WebsocketClient{foreign}, probe::ClientError) << "it could log in only once it is open";
}

TEST_F(NamedTokenTest, StandBeforeTheTopicsOfTheirWebsocket) {
  Serve();
  probe::WebsocketClient client(OptionsFor("/east", "of-east"));
  EXPECT_EQ(Ask(client, test::SubscribeText({"a"})), R"({"subscribed":{"sids":["a"],"topic":"Topic"}})");
  // The answer goes out before the subscription is filed.
  ASSERT_TRUE(test::Eventually([&] { return service.Subscriptions("east/Topic").size() == 1; }));
  EXPECT_TRUE(service.Subscriptions("Topic").empty());
  const auto filed = service.Subscriptions("east/Topic");
  Push(filed.at("a").begin()->first, test::Envelope("a", 1));
  EXPECT_EQ(Next(client), test::Envelope("a", 1));
  EXPECT_EQ(Ask(client, R"({"unsubscribe":{"topic":"Topic","sid":"a"}})"),
            R"({"unsubscribed":{"sid":"a","topic":"Topic"}})");
  EXPECT_TRUE(service.Subscriptions("east/Topic").empty());
}

}  // namespace
