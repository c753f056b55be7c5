#include "probe/api/latest_messages.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "monitor/engine/filter.h"
#include "platform/sending.h"
#include "tests/probe/server/served.h"

namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Sends the same text to everybody, and remembers how often.
class OneText final : public subscribes::Subscriber {
 public:
  subscribes::ParsedRequest FilterParser(json_object* request) override { return parser_.FilterParser(request); }
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override {
    for (const auto& [sid, connections] : subscriptions) {
      for (const auto& [connection, filter] : connections) {
        ++built;
        // There is none while no server runs.
        if (const SalSendByCon send = GetSalSendByCon(); send != nullptr) send(connection, text);
      }
    }
  }
  std::vector<std::string> Requests() const { return parser_.Requests(); }

  std::string text = "first";
  std::atomic<int> built{0};

 private:
  test::RecordingSubscriber parser_;
};

class LatestMessagesTest : public test::Served {
 protected:
  /// A server with two of the live topics, and what is kept of them.
  void ServeLive() {
    service.AddSubscriber("HealthMonitor", health);
    service.AddSubscriber("TrafficMonitor", traffic);
    Serve();
    latest.Start(*server, service);
  }

  /// The connections that listen to a topic within the process.
  std::vector<lws*> Listeners(const std::string& topic) {
    std::vector<lws*> handles;
    const auto connections = service.GetSubscribeList(topic)["latest"];
    for (const auto& [connection, filter] : connections) handles.push_back(connection);
    return handles;
  }

  void Pass() {
    health->PushDataBySID(service.GetSubscribeList("HealthMonitor"));
    traffic->PushDataBySID(service.GetSubscribeList("TrafficMonitor"));
  }

  std::string TextOf(const std::string& view) {
    const auto message = latest.Ask("TrafficMonitor", view);
    return message == nullptr ? "none" : message->text;
  }

  std::shared_ptr<OneText> health = std::make_shared<OneText>();
  std::shared_ptr<OneText> traffic = std::make_shared<OneText>();
  probe::LatestMessages latest;
};

TEST_F(LatestMessagesTest, AreBuiltForNobodyUntilSomebodyAsks) {
  ServeLive();
  Pass();
  EXPECT_THAT(Listeners("HealthMonitor"), SizeIs(1)) << "what tells of the passes";
  EXPECT_THAT(health->Requests(), ::testing::ElementsAre(R"([{"sid":"latest","filter":{"mac":"none"}}])"));
  EXPECT_THAT(Listeners("TrafficMonitor"), IsEmpty());
  EXPECT_EQ(latest.Find("HealthMonitor", ""), nullptr);
}

TEST_F(LatestMessagesTest, AreThereAtTheFirstQuestion) {
  ServeLive();
  Pass();
  EXPECT_EQ(TextOf("2h"), "first");
  EXPECT_THAT(traffic->Requests(), ::testing::ElementsAre(R"([{"sid":"latest","filter":{"interval":"2h"}}])"));
  EXPECT_EQ(latest.Find("TrafficMonitor", "1m"), nullptr) << "another filter's";
}

TEST_F(LatestMessagesTest, AreReplacedByThoseOfThePasses) {
  ServeLive();
  Pass();
  EXPECT_EQ(TextOf("1m"), "first");
  traffic->text = "second";
  EXPECT_EQ(TextOf("1m"), "first") << "built once a pass";
  Pass();
  EXPECT_EQ(traffic->built, 2);
  EXPECT_EQ(TextOf("1m"), "second");
  EXPECT_EQ(traffic->built, 2);
}

TEST_F(LatestMessagesTest, AreNoneBeforeTheFirstPassWhichBringsWhatWasAskedFor) {
  ServeLive();
  EXPECT_EQ(TextOf("1m"), "none");
  EXPECT_EQ(traffic->built, 0);
  EXPECT_FALSE(latest.last_pass().has_value());
  EXPECT_FALSE(latest.last_arrival().has_value());
  Pass();
  EXPECT_TRUE(latest.last_pass().has_value());
  EXPECT_TRUE(latest.last_arrival().has_value());
  ASSERT_NE(latest.Find("TrafficMonitor", "1m"), nullptr);
  EXPECT_EQ(latest.Find("TrafficMonitor", "1m")->text, "first");
}

TEST_F(LatestMessagesTest, AreNoneBeforeTheServerStarts) {
  EXPECT_EQ(TextOf("1m"), "none");
}

TEST_F(LatestMessagesTest, AreDroppedWhenNobodyHasAskedForSomePasses) {
  ServeLive();
  Pass();
  EXPECT_EQ(TextOf("1m"), "first");
  for (std::uint64_t pass = 0; pass < probe::LatestMessages::kKeptPasses; ++pass) Pass();
  EXPECT_EQ(TextOf("1m"), "first");  // in time: kept for as long again
  for (std::uint64_t pass = 0; pass < probe::LatestMessages::kKeptPasses; ++pass) Pass();
  EXPECT_THAT(Listeners("TrafficMonitor"), SizeIs(1));
  const int built = traffic->built;
  Pass();
  EXPECT_THAT(Listeners("TrafficMonitor"), IsEmpty());
  EXPECT_EQ(latest.Find("TrafficMonitor", "1m"), nullptr);
  EXPECT_EQ(traffic->built, built);
  traffic->text = "fresh";
  EXPECT_EQ(TextOf("1m"), "fresh");
}

TEST_F(LatestMessagesTest, TakeNothingThatNobodyAsksForAnyMore) {
  ServeLive();
  Pass();
  EXPECT_EQ(TextOf("1m"), "first");
  lws* const connection = Listeners("TrafficMonitor").front();
  for (std::uint64_t pass = 0; pass <= probe::LatestMessages::kKeptPasses; ++pass) Pass();
  Push(connection, "of the pass that dropped it");
  EXPECT_EQ(latest.Find("TrafficMonitor", "1m"), nullptr);
}

TEST_F(LatestMessagesTest, AreNotBuiltWhileTheyAreTooLarge) {
  ServeLive();
  Pass();
  traffic->text.assign(probe::LatestMessages::kMaxBytes, 'x');
  EXPECT_EQ(TextOf("1m"), traffic->text);
  EXPECT_FALSE(latest.IsTooLarge("TrafficMonitor", "1m"));
  traffic->text += 'x';
  Pass();
  EXPECT_EQ(TextOf("1m"), "none") << "an old message must not pass for the newest";
  EXPECT_TRUE(latest.IsTooLarge("TrafficMonitor", "1m"));
  EXPECT_THAT(Listeners("TrafficMonitor"), IsEmpty()) << "the engine builds it for nobody";
  EXPECT_EQ(traffic->built, 2) << "nor does a question";
  EXPECT_TRUE(IsLogged("too large to be kept"));
  traffic->text = "small again";
  for (std::uint64_t pass = 0; pass <= probe::LatestMessages::kKeptPasses; ++pass) Pass();
  EXPECT_FALSE(latest.IsTooLarge("TrafficMonitor", "1m"));
  EXPECT_EQ(TextOf("1m"), "small again");
}

TEST_F(LatestMessagesTest, AreNoClientsAndTakeNothingFromTheirLimits) {
  settings.limits.distinct_filters = 1;
  settings.limits.connections = 1;
  ServeLive();
  Pass();
  EXPECT_EQ(TextOf("1m"), "first");
  auto client = Subscribed();
  ExpectServed(client);
}

TEST_F(LatestMessagesTest, AreAskedForADeviceWhileTheServerStops) {
  ServeLive();
  Pass();
  std::atomic<bool> is_over{false};
  std::atomic<int> answered{0};
  std::vector<std::thread> workers;
  for (int worker = 0; worker < 2; ++worker) {
    workers.emplace_back([&] {
      while (!is_over) {
        if (latest.AskForDevice("TrafficMonitor", "1m", "AA:00:00:00:00:01") == "first") ++answered;
      }
    });
  }
  EXPECT_TRUE(test::Eventually([&] { return answered > 10; }));
  server->Stop();
  EXPECT_EQ(latest.AskForDevice("TrafficMonitor", "1m", "AA:00:00:00:00:01"), "") << "nobody is there to receive it";
  is_over = true;
  for (std::thread& worker : workers) worker.join();
  EXPECT_THAT(Listeners("TrafficMonitor"), IsEmpty());
}

TEST_F(LatestMessagesTest, ComeInWithoutHarmAfterTheServerHasStopped) {
  ServeLive();
  Pass();
  EXPECT_EQ(TextOf("1m"), "first");
  lws* const connection = Listeners("TrafficMonitor").front();
  const SalSendByCon send = GetSalSendByCon();
  server->Stop();
  send(connection, "late");
  EXPECT_EQ(TextOf("1m"), "first");
}

}  // namespace
