// Clients that take their messages slowly, or not at all.

#include <gmock/gmock.h>

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
  settings.limits.queue_bytes = 3 * 1024 * 1024;
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

TEST_F(SlowClientTest, IsNotClosedWhileItTakesALittle) {
  settings.limits.stuck_after = 2s;
  Serve();
  const auto client = StuckClient();
  // A little every tick, until twice the limit is over: some 100 KiB of the 24 MiB.
  const auto end = std::chrono::steady_clock::now() + 4s;
  std::size_t taken = 100;
  EXPECT_TRUE(Eventually([&] {
    taken += 64;
    return !client->WaitForOctets(taken) || std::chrono::steady_clock::now() > end;
  }));
  EXPECT_FALSE(IsLogged("closed with 1013"));
  EXPECT_TRUE(client->ReadMessage() == Envelope("a", 0, kLarge));
}

TEST_F(SlowClientTest, DelaysNobodyElse) {
  settings.limits.stuck_after = 60s;
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
