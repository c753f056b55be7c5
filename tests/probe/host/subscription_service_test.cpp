#include "probe/host/subscription_service.h"
#include "probe/host/subscription_observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "probe/host/connection_id.h"
#include "tests/support/message_capture.h"

namespace {

using probe::ConnectionId;
using probe::SubscriptionService;
using subscribes::SubscriptionList;
using test::Connection;
using test::FilterOf;
using ::testing::IsEmpty;

/// Answers every request with one filter under the SID "parsed".
class OneFilter final : public subscribes::Subscriber {
 public:
  subscribes::ParsedRequest FilterParser(json_object* /*request*/) override { return {{"parsed", FilterOf("1m")}}; }
  void PushDataBySID(const SubscriptionList& /*subscriptions*/) override {}
};

class SubscriptionServiceTest : public ::testing::Test {
 protected:
  ~SubscriptionServiceTest() override { service.Clear(); }
  SubscriptionService& service = SubscriptionService::Instance();
};

TEST_F(SubscriptionServiceTest, IsTheServiceOfTheContract) {
  EXPECT_EQ(&subscribes::SubscribesManager::GetInstance(), &service);
}

TEST_F(SubscriptionServiceTest, HasTheTopicsSubscriberParseRequests) {
  EXPECT_EQ(service.Parse("T", nullptr), std::nullopt);
  service.AddSubscriber("T", std::make_shared<OneFilter>());
  const auto parsed = service.Parse("T", nullptr);
  ASSERT_TRUE(parsed.has_value());
  EXPECT_TRUE(parsed->contains("parsed"));
  EXPECT_THAT(service.GetSubscribeList("T"), IsEmpty()) << "nothing is filed yet";
}

TEST_F(SubscriptionServiceTest, FilesByTopicSidAndConnection) {
  const auto first = FilterOf("1m");
  const auto second = FilterOf("5m");
  service.File("T", ConnectionId{1}, {{"a", first}});
  service.File("T", ConnectionId{2}, {{"a", second}, {"b", first}});
  service.File("U", ConnectionId{1}, {{"a", second}});
  const SubscriptionList expected{{"a", {{Connection(1), first}, {Connection(2), second}}},
                                  {"b", {{Connection(2), first}}}};
  EXPECT_EQ(service.GetSubscribeList("T"), expected);
}

TEST_F(SubscriptionServiceTest, ReplacesAFilterOfTheSameTopicSidAndConnection) {
  const auto second = FilterOf("5m");
  service.File("T", ConnectionId{1}, {{"a", FilterOf("1m")}});
  service.File("T", ConnectionId{1}, {{"a", second}});
  EXPECT_EQ(service.GetSubscribeList("T"), (SubscriptionList{{"a", {{Connection(1), second}}}}));
}

/// Feeds two topics: pushes to the lists of both, whatever it is handed.
class TwoTopics final : public subscribes::Subscriber {
 public:
  subscribes::ParsedRequest FilterParser(json_object* /*request*/) override { return {}; }
  void PushDataBySID(const SubscriptionList& list) override {
    handed = list;
    for (const char* topic : {"T", "U"}) {
      asked[topic] = subscribes::SubscribesManager::GetInstance().GetSubscribeList(topic);
    }
  }

  SubscriptionList handed;
  std::map<std::string, SubscriptionList> asked;
};

TEST_F(SubscriptionServiceTest, PushesToOneConnectionOfOneTopic) {
  const auto subscriber = std::make_shared<TwoTopics>();
  service.AddSubscriber("T", subscriber);
  service.AddSubscriber("U", subscriber);
  const auto filter = FilterOf("1m");
  service.File("T", ConnectionId{1}, {{"a", filter}});
  service.File("T", ConnectionId{2}, {{"a", FilterOf("1m")}, {"b", FilterOf("1m")}});
  service.File("U", ConnectionId{1}, {{"a", FilterOf("1m")}});
  service.PushNow("T", ConnectionId{1});
  const SubscriptionList only{{"a", {{Connection(1), filter}}}};
  EXPECT_EQ(subscriber->handed, only);
  EXPECT_EQ(subscriber->asked["T"], only);
  EXPECT_THAT(subscriber->asked["U"], IsEmpty());
  EXPECT_EQ(service.GetSubscribeList("T").size(), 2U) << "all of them again afterwards";
}

TEST_F(SubscriptionServiceTest, PushesNothingToAConnectionWithoutASubscription) {
  const auto subscriber = std::make_shared<TwoTopics>();
  service.AddSubscriber("T", subscriber);
  service.File("T", ConnectionId{1}, {{"a", FilterOf("1m")}});
  service.PushNow("T", ConnectionId{2});
  service.PushNow("V", ConnectionId{1});
  EXPECT_THAT(subscriber->asked, IsEmpty());
}

TEST_F(SubscriptionServiceTest, RemovesOneSubscription) {
  const auto kept = FilterOf("1m");
  service.File("T", ConnectionId{1}, {{"a", FilterOf("1m")}, {"b", kept}});
  EXPECT_TRUE(service.Unsubscribe("T", ConnectionId{1}, "a"));
  EXPECT_FALSE(service.Unsubscribe("T", ConnectionId{1}, "a"));
  EXPECT_FALSE(service.Unsubscribe("T", ConnectionId{2}, "b"));
  EXPECT_FALSE(service.Unsubscribe("U", ConnectionId{1}, "b"));
  EXPECT_EQ(service.GetSubscribeList("T"), (SubscriptionList{{"b", {{Connection(1), kept}}}}));
}

TEST_F(SubscriptionServiceTest, RemovesEverySubscriptionOfAConnectionThatWent) {
  const auto kept = FilterOf("1m");
  service.File("T", ConnectionId{1}, {{"a", FilterOf("1m")}, {"b", FilterOf("1m")}});
  service.File("T", ConnectionId{2}, {{"a", kept}});
  service.File("U", ConnectionId{1}, {{"a", FilterOf("1m")}});
  service.Disconnect(ConnectionId{1});
  EXPECT_EQ(service.GetSubscribeList("T"), (SubscriptionList{{"a", {{Connection(2), kept}}}}));
  EXPECT_THAT(service.GetSubscribeList("U"), IsEmpty());
}

/// Counts the connections that it hears go.
class DepartureCounter final : public probe::SubscriptionObserver {
 public:
  void OnFiled(const std::string&, probe::ConnectionId, const std::string&) override {}
  void OnRemoved(const std::string&, probe::ConnectionId, const std::string&) override {}
  void OnDisconnected(probe::ConnectionId /*connection*/) override { ++departures; }
  void OnHeld() override {}
  void OnReleased() override {}

  int departures = 0;
};

TEST_F(SubscriptionServiceTest, TellsOnceOfAConnectionThatWent) {
  DepartureCounter counter;
  service.SetObserver(&counter);
  service.File("T", ConnectionId{1}, {{"a", FilterOf("1m")}, {"b", FilterOf("1m")}});
  service.Disconnect(ConnectionId{1});
  service.Disconnect(ConnectionId{1});
  service.SetObserver(nullptr);
  EXPECT_EQ(counter.departures, 1);
}

TEST_F(SubscriptionServiceTest, FilesAnewForAConnectionThatHadUnsubscribed) {
  service.File("T", ConnectionId{1}, {{"a", FilterOf("1m")}});
  service.Unsubscribe("T", ConnectionId{1}, "a");
  service.File("T", ConnectionId{1}, {{"a", FilterOf("1m")}});
  service.Disconnect(ConnectionId{1});
  EXPECT_THAT(service.GetSubscribeList("T"), IsEmpty());
}

TEST_F(SubscriptionServiceTest, DisconnectsAtTheCostOfTheConnectionsOwnSubscriptions) {
  constexpr std::uintptr_t kConnections = 20'000;
  const auto filter = FilterOf("1m");
  const auto time_of = [](const std::function<void(std::uintptr_t)>& step) {
    const auto begin = std::chrono::steady_clock::now();
    for (std::uintptr_t number = 1; number <= kConnections; ++number) step(number);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  };
  const double filing = time_of([&](std::uintptr_t number) {
    service.File("T", ConnectionId{number}, {{"sid" + std::to_string(number), filter}});
  });
  const double leaving = time_of([&](std::uintptr_t number) { service.Disconnect(ConnectionId{number}); });
  EXPECT_LT(leaving, 20 * filing) << "a walk over every SID takes hundreds of times as long";
  EXPECT_THAT(service.GetSubscribeList("T"), IsEmpty());
}

TEST_F(SubscriptionServiceTest, LetsGoOfSubscribersAndFiltersWhenItIsCleared) {
  const auto subscriber = std::make_shared<OneFilter>();
  const auto filter = FilterOf("1m");
  service.AddSubscriber("T", subscriber);
  service.File("T", ConnectionId{1}, {{"a", filter}});
  service.Clear();
  EXPECT_EQ(subscriber.use_count(), 1);
  EXPECT_EQ(filter.use_count(), 1);
  EXPECT_EQ(service.Parse("T", nullptr), std::nullopt);
}

}  // namespace
