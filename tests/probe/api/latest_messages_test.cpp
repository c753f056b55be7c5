#include "probe/api/latest_messages.h"

#include <gmock/gmock.h>

#include "platform/sending.h"
#include "tests/probe/server/served.h"

namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class LatestMessagesTest : public test::Served {
 protected:
  /// A server with two of the live topics, and what is kept of them.
  void ServeLive() {
    service.AddSubscriber("HealthMonitor", subscriber);
    service.AddSubscriber("TrafficMonitor", subscriber);
    Serve();
    latest.Subscribe(*server, service);
  }

  /// The connections that listen to a topic within the process.
  std::vector<lws*> Listeners(const std::string& topic) {
    std::vector<lws*> handles;
    const auto connections = service.GetSubscribeList(topic)["latest"];
    for (const auto& [connection, filter] : connections) handles.push_back(connection);
    return handles;
  }

  probe::LatestMessages latest;
};

TEST_F(LatestMessagesTest, SubscribeToEveryViewOfTheTopicsThatThereAre) {
  ServeLive();
  EXPECT_THAT(Listeners("HealthMonitor"), SizeIs(1));
  EXPECT_THAT(Listeners("TrafficMonitor"), SizeIs(6));
  EXPECT_THAT(Listeners("wireless_top_monitor"), IsEmpty());
  EXPECT_THAT(subscriber->Requests(), ::testing::Contains(R"([{"sid":"latest","filter":{"interval":"2h"}}])"));
}

TEST_F(LatestMessagesTest, AreNoneBeforeTheFirstPass) {
  ServeLive();
  EXPECT_EQ(latest.Find("HealthMonitor", ""), nullptr);
  EXPECT_FALSE(latest.last_received().has_value());
  EXPECT_FALSE(latest.last_arrival().has_value());
}

TEST_F(LatestMessagesTest, AreReplacedByNewerOnes) {
  ServeLive();
  const lws* other = Listeners("TrafficMonitor").front();
  lws* const health = Listeners("HealthMonitor").front();
  ASSERT_NE(health, other);
  Push(health, "old");
  Push(health, "new");
  ASSERT_NE(latest.Find("HealthMonitor", ""), nullptr);
  EXPECT_EQ(latest.Find("HealthMonitor", "")->text, "new");
  EXPECT_TRUE(latest.last_received().has_value());
  EXPECT_EQ(latest.Find("TrafficMonitor", "1m"), nullptr) << "another filter's";
}

TEST_F(LatestMessagesTest, AreNotAskedForAnyMoreOnceOneIsTooLarge) {
  ServeLive();
  lws* const health = Listeners("HealthMonitor").front();
  Push(health, std::string(probe::LatestMessages::kMaxBytes, 'x'));
  ASSERT_NE(latest.Find("HealthMonitor", ""), nullptr);
  EXPECT_THAT(Listeners("HealthMonitor"), SizeIs(1));
  EXPECT_FALSE(latest.IsTooLarge("HealthMonitor", ""));
  Push(health, std::string(probe::LatestMessages::kMaxBytes + 1, 'x'));
  EXPECT_EQ(latest.Find("HealthMonitor", ""), nullptr) << "an old message must not pass for the newest";
  EXPECT_TRUE(latest.IsTooLarge("HealthMonitor", ""));
  EXPECT_THAT(Listeners("HealthMonitor"), IsEmpty()) << "the engine builds it for nobody";
  EXPECT_THAT(Listeners("TrafficMonitor"), SizeIs(6));
  EXPECT_TRUE(IsLogged("too large to be kept"));
}

TEST_F(LatestMessagesTest, AreNoClientsAndTakeNothingFromTheirLimits) {
  settings.limits.distinct_filters = 1;
  settings.limits.connections = 1;
  ServeLive();
  auto client = Subscribed();
  ExpectServed(client);
}

TEST_F(LatestMessagesTest, ComeInWithoutHarmAfterTheServerHasStopped) {
  ServeLive();
  lws* const health = Listeners("HealthMonitor").front();
  const SalSendByCon send = GetSalSendByCon();
  server->Stop();
  send(health, "late");
  EXPECT_EQ(latest.Find("HealthMonitor", ""), nullptr);
}

}  // namespace
