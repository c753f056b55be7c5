// Clients that take their messages slowly, or not at all.

#include <gmock/gmock.h>

#include <thread>

#include "probe/server/websocket/outbox.h"
#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using test::Envelope;
using test::Eventually;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::chrono_literals;

// More than the buffers of both ends of a connection can take, so that the server has to keep the rest.
constexpr std::size_t kLarge = 24 * 1024 * 1024;
constexpr int kSmallBuffer = 4096;

class SlowClientTest : public test::Served {
 protected:
  // A slow machine may take a minute for the large message.
  SlowClientTest() { settings.limits.queue_for = 600s; }

  /// The one connection subscribed under a SID, once it is filed.
  lws* HandleOf(const std::string& sid) {
    EXPECT_TRUE(Eventually([&] { return Handles(sid).size() == 1; }));
    return Handles(sid).at(0);
  }

  /// A client with subscriptions "a" and "b" that has begun to receive a large message and reads no further.
  std::unique_ptr<test::RawClient> StuckClient() {
    auto client = std::make_unique<test::RawClient>(server->port(), "127.0.0.1", kSmallBuffer);
    client->Upgrade();
    client->SendFrame(1, test::SubscribeText({"a", "b"}));
    EXPECT_THAT(client->ReadMessage().value_or(""), HasSubstr("subscribed"));
    EXPECT_TRUE(Eventually([&] { return Handles("b").size() == 1; }));
    handle = Handles("b").front();
    Push(handle, Envelope("a", 0, kLarge));
    EXPECT_TRUE(client->WaitForOctets(100));
    return client;
  }

  lws* handle = nullptr;
};

TEST_F(SlowClientTest, GetsTheNewestMessageInPlaceOfTheUnsentOnesBefore) {
  settings.limits.stuck_after = 60s;
  Serve();
  const auto client = StuckClient();
  for (int number = 1; number <= 20; ++number) Push(handle, Envelope("a", number));
  Push(handle, Envelope("b", 1));
  EXPECT_TRUE(client->ReadMessage() == Envelope("a", 0, kLarge));
  EXPECT_EQ(client->ReadMessage(), Envelope("a", 20));
  EXPECT_EQ(client->ReadMessage(), Envelope("b", 1)) << "another SID's message is no replacement";
  EXPECT_THAT(log.Texts(probe::log::Level::kInfo, "is slow"), SizeIs(1));
}

TEST_F(SlowClientTest, IsClosedWhenWhatItDoesNotTakeNeedsTheRoomOfOthers) {
  settings.limits.stuck_after = 60s;
  settings.limits.all_queues_bytes = 16 * 1024 * 1024;
  Serve();
  const auto stuck = StuckClient();
  auto honest = Subscribed("honest");
  ASSERT_TRUE(Eventually([&] { return Handles("honest").size() == 1; }));
  std::this_thread::sleep_for(probe::QueueTotal::kHoldTime + 100ms);
  for (int number = 1; number <= 20; ++number) {
    Push(Handles("honest").at(0), Envelope("honest", number, 100'000));
    EXPECT_EQ(Next(honest), Envelope("honest", number, 100'000)) << "not one of its messages is lost";
  }
  EXPECT_TRUE(Eventually([&] { return Handles("a").empty(); }));
  EXPECT_TRUE(IsLogged("is closed with 1013: what it has not taken yet needs the room of others"));
  EXPECT_TRUE(Eventually([&] { return server->queued_octets() == 0; })) << "and its messages are gone at once";
}

TEST_F(SlowClientTest, LosesTheOldestMessagesWhenItsQueueIsFull) {
  settings.limits.stuck_after = 60s;
  settings.limits.queue_messages = 3;
  Serve();
  const auto client = StuckClient();
  for (int number = 1; number <= 10; ++number) Push(handle, Envelope("sid" + std::to_string(number), number));
  EXPECT_TRUE(client->ReadMessage() == Envelope("a", 0, kLarge));
  for (int number = 8; number <= 10; ++number)
    EXPECT_EQ(client->ReadMessage(), Envelope("sid" + std::to_string(number), number));
  EXPECT_THAT(log.Texts(probe::log::Level::kInfo, "is slow"), SizeIs(1));
}

TEST_F(SlowClientTest, LosesTheOldestMessagesWhenTheyAreTooLargeTogether) {
  settings.limits.stuck_after = 60s;
  settings.limits.queue_bytes = 6 * 1024 * 1024;  // half of it for the message that is being written
  Serve();
  const auto client = StuckClient();
  for (int number = 1; number <= 10; ++number)
    Push(handle, Envelope("sid" + std::to_string(number), number, 1024 * 1024));
  EXPECT_TRUE(client->ReadMessage() == Envelope("a", 0, kLarge));
  EXPECT_TRUE(client->ReadMessage() == Envelope("sid9", 9, 1024 * 1024));
  EXPECT_TRUE(client->ReadMessage() == Envelope("sid10", 10, 1024 * 1024));
}

TEST_F(SlowClientTest, IsLoggedAsSlowWhenAnAnswerIsTheFirstToPushAMessageOut) {
  settings.limits.stuck_after = 60s;
  settings.limits.queue_messages = 1;
  Serve();
  const auto client = StuckClient();
  Push(handle, Envelope("a", 1));
  EXPECT_FALSE(IsLogged("is slow"));
  client->SendFrame(1, test::SubscribeText({"a"}));
  EXPECT_TRUE(Eventually([&] { return IsLogged("is slow"); }));
}

TEST_F(SlowClientTest, IsClosedWith1013WhenItTakesNothing) {
  settings.limits.stuck_after = 1s;
  Serve();
  auto bystander = Subscribed("bystander");
  const auto client = StuckClient();
  ASSERT_TRUE(Eventually([&] { return IsLogged("closed with 1013"); }));
  EXPECT_TRUE(IsLogged("limits.stuck_after_seconds = 1"));
  EXPECT_THAT(Handles("a"), IsEmpty()) << "its subscriptions go at once";
  EXPECT_EQ(client->ReadMessage(), std::nullopt);
  EXPECT_EQ(client->close_code(), 1013);
  ExpectServed(bystander);
}

TEST_F(SlowClientTest, IsCutOffWhenItDoesNotEvenTakeTheFarewell) {
  settings.limits.stuck_after = 1s;
  settings.limits.connections = 1;
  Serve();
  const auto client = StuckClient();
  ASSERT_TRUE(Eventually([&] { return IsLogged("closed with 1013"); }));
  EXPECT_TRUE(Eventually([&] {
    try {
      Connect();
      return true;  // its place is free
    } catch (const probe::ClientError&) {
      return false;
    }
  }));
}

/// Takes a little every tick, some 100 KiB of the 24 MiB, until `until` holds. False when the connection ends before.
bool Drip(test::RawClient& client, const std::function<bool()>& until) {
  std::size_t taken = 100;
  bool is_open = true;
  EXPECT_TRUE(Eventually([&] {
    taken += 64;
    is_open = client.WaitForOctets(taken);
    return !is_open || until();
  }));
  return is_open;
}

TEST_F(SlowClientTest, IsNotClosedWhileItTakesALittleAndHasTimeToEmptyItsQueue) {
  settings.limits.stuck_after = 2s;
  Serve();
  const auto client = StuckClient();
  const auto end = std::chrono::steady_clock::now() + 4s;
  EXPECT_TRUE(Drip(*client, [&] { return std::chrono::steady_clock::now() > end; }));
  EXPECT_FALSE(IsLogged("closed with 1013"));
  EXPECT_TRUE(client->ReadMessage() == Envelope("a", 0, kLarge));
}

TEST_F(SlowClientTest, IsClosedWith1013WhenItOnlyDripsAndItsQueueIsNeverEmpty) {
  settings.limits.stuck_after = 2s;
  settings.limits.queue_for = 3s;
  Serve();
  const auto client = StuckClient();
  Drip(*client, [&] { return IsLogged("closed with 1013"); });
  EXPECT_TRUE(IsLogged("limits.queue_seconds = 3"));
  EXPECT_THAT(Handles("a"), IsEmpty());
}

TEST_F(SlowClientTest, IsNotClosedWhoseQueueIsEmptyNowAndThen) {
  settings.limits.stuck_after = 1s;
  settings.limits.queue_for = 1s;
  Serve();
  auto client = Subscribed("a");
  lws* const quick = HandleOf("a");
  const auto end = std::chrono::steady_clock::now() + 3s;
  for (int number = 0; std::chrono::steady_clock::now() < end; ++number) {
    Push(quick, Envelope("a", number, 2 * 1024 * 1024));
    ASSERT_EQ(Next(client), Envelope("a", number, 2 * 1024 * 1024)) << "larger than its queue";
  }
  EXPECT_FALSE(IsLogged("closed with 1013"));
}

TEST_F(SlowClientTest, IsHandedOutToNoPassUntilItReadsOn) {
  settings.limits.stuck_after = 4s;
  Serve();
  const auto client = StuckClient();
  const auto is_handed_out = [&] { return !service.GetSubscribeList("Topic").empty(); };
  EXPECT_TRUE(Eventually([&] { return !is_handed_out(); }));
  EXPECT_FALSE(IsLogged("closed with 1013"));
  EXPECT_THAT(Handles("a"), SizeIs(1)) << "its subscriptions stay";
  EXPECT_TRUE(client->ReadMessage() == Envelope("a", 0, kLarge));
  EXPECT_TRUE(Eventually(is_handed_out));
}

TEST_F(SlowClientTest, TakesNoMoreThanItsQueueMayHold) {
  constexpr std::size_t kReaders = 50;
  constexpr std::size_t kMessage = 100 * 1024;
  settings.limits.stuck_after = 600s;
  settings.limits.connections_per_address = 2 * kReaders;
  Serve();
  auto bystander = Subscribed("bystander");
  lws* const bystander_handle = HandleOf("bystander");
  std::vector<std::unique_ptr<test::RawClient>> clients;
  for (std::size_t i = 0; i < kReaders; ++i) {
    clients.push_back(std::make_unique<test::RawClient>(server->port(), "127.0.0.1", kSmallBuffer));
    clients.back()->Upgrade();
    clients.back()->SendFrame(1, test::SubscribeText({"r" + std::to_string(i)}));
    EXPECT_THAT(clients.back()->ReadMessage().value_or(""), HasSubstr("subscribed"));
  }
  // What the system's buffers swallow is none of the server's memory: 8 MiB for each are more than these take.
  const std::size_t half = kReaders * settings.limits.queue_bytes / 2;
  int further = 0;
  for (int number = 0; number < 80 && further < 3; ++number) {
    further += server->queued_octets() > half ? 1 : 0;
    for (std::size_t i = 0; i < kReaders; ++i) {
      const std::string sid = "r" + std::to_string(i);
      Push(HandleOf(sid), Envelope(sid + "." + std::to_string(number), number, kMessage));
    }
    Push(bystander_handle, Envelope("bystander", number));
    ASSERT_EQ(Next(bystander), Envelope("bystander", number));
    ASSERT_LE(server->queued_octets(), kReaders * settings.limits.queue_bytes);
  }
  EXPECT_GT(server->queued_octets(), half) << "they take it up";
  EXPECT_LE(server->queued_octets(), settings.limits.all_queues_bytes);
  clients.clear();
  EXPECT_TRUE(Eventually([&] { return server->queued_octets() == 0; }));
}

TEST_F(SlowClientTest, LosesItsMessagesWhenAllQueuesTogetherHoldTooMuch) {
  settings.limits.stuck_after = 600s;
  settings.limits.queue_bytes = 100 * 1024 * 1024;
  settings.limits.all_queues_bytes = 30 * 1024 * 1024;
  Serve();
  const auto client = StuckClient();
  auto bystander = Subscribed("bystander");
  for (int number = 1; number <= 10; ++number)
    Push(handle, Envelope("sid" + std::to_string(number), number, 1024 * 1024));
  EXPECT_LE(server->queued_octets(), 31U * 1024 * 1024);
  Push(HandleOf("bystander"), Envelope("bystander", 1, 3 * 1024 * 1024));
  EXPECT_EQ(Next(bystander), Envelope("bystander", 1, 3 * 1024 * 1024)) << "not the fullest queue";
  EXPECT_LE(server->queued_octets(), 31U * 1024 * 1024);
  EXPECT_TRUE(client->ReadMessage() == Envelope("a", 0, kLarge));
  const auto next = client->ReadMessage();
  EXPECT_THAT(next.value_or("").substr(0, 100), HasSubstr(R"("number":9)"));
}

TEST_F(SlowClientTest, DelaysNobodyElse) {
  settings.limits.stuck_after = 600s;
  Serve();
  auto quick = Subscribed("quick");
  const auto client = StuckClient();
  const auto quick_handle = Handles("quick").front();
  for (int number = 1; number <= 200; ++number) {
    Push(handle, Envelope("a", number, 100'000));
    Push(quick_handle, Envelope("quick", number));
    ASSERT_EQ(Next(quick), Envelope("quick", number));
  }
}

}  // namespace
