// How the server ends, with messages still coming from other threads.

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "platform/sending.h"
#include "probe/host/log.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/web_server.h"
#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using test::Envelope;
using test::Eventually;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

class WebServerStopTest : public test::Served {
 protected:
  /// Stops the server and gives how long that took.
  std::chrono::milliseconds TimeToStop() {
    const auto begin = std::chrono::steady_clock::now();
    server->Stop();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
  }
};

TEST_F(WebServerStopTest, ClosesEveryConnectionWith1001AndDropsItsSubscriptions) {
  Serve();
  auto first = Subscribed("a");
  auto second = Subscribed("a");
  EXPECT_LT(TimeToStop(), 900ms);
  for (auto* client : {&first, &second}) {
    EXPECT_EQ(client->Receive(20s), std::nullopt);
    ASSERT_TRUE(client->close_reason().has_value());
    EXPECT_EQ(client->close_reason()->code, 1001);
  }
  EXPECT_THAT(Handles("a"), IsEmpty());
  EXPECT_EQ(GetSalSendByCon(), nullptr);
}

TEST_F(WebServerStopTest, StopsAtOnceWhenAllClientsSayGoodBye) {
  Serve();
  auto client = Subscribed("a");
  std::atomic<bool> is_closed{false};
  std::thread reader([&] {
    client.Receive(20s);
    is_closed = client.close_reason().has_value();
  });
  EXPECT_LT(TimeToStop(), 200ms);
  reader.join();
  EXPECT_TRUE(is_closed);
}

TEST_F(WebServerStopTest, IsNotHeldUpByClientsThatSayNothing) {
  Serve();
  test::RawClient silent(server->port());
  test::RawClient half(server->port());
  half.Send("GET / HTTP/1.1\r\nHost: 12");
  test::RawClient stuck(server->port(), "127.0.0.1", 4096);
  stuck.Upgrade();
  stuck.SendFrame(1, test::SubscribeText({"a"}));
  Push(AwaitHandle(), Envelope("a", 1, 24 * 1024 * 1024));
  ASSERT_TRUE(stuck.WaitForOctets(200));
  EXPECT_LT(TimeToStop(), 900ms);
  EXPECT_THAT(Handles(), IsEmpty());
}

TEST_F(WebServerStopTest, IsNotHeldUpByAClientThatDoesNotSayGoodBye) {
  Serve();
  test::RawClient rude(server->port());
  rude.Upgrade();
  EXPECT_LT(TimeToStop(), 900ms);
  EXPECT_EQ(rude.ReadMessage(), std::nullopt);
  EXPECT_EQ(rude.close_code(), 1001);
}

TEST_F(WebServerStopTest, IsNotHeldUpByATextThatBreaksWhileItsClientIsBeingClosed) {
  Serve();
  test::RawClient rude(server->port());
  rude.Upgrade();
  rude.Send(std::string("\x81\xFE\x00\xC8\0\0\0\0a", 9));  // a text of 200 octets, of which one comes
  std::this_thread::sleep_for(200ms);                      // until the server waits for the others
  auto taken = std::async(std::launch::async, [&] { return TimeToStop(); });
  EXPECT_EQ(rude.ReadMessage(), std::nullopt);
  EXPECT_EQ(rude.close_code(), 1001);
  rude.Send("\xFF");  // no UTF-8
  EXPECT_LT(taken.get(), 900ms);
}

TEST_F(WebServerStopTest, IsNotHeldUpByAClientThatAnswersPingsBeforeTheyAreSent) {
  settings.limits.ping_after = 1s;
  settings.limits.hang_up_after = 60s;
  settings.limits.stuck_after = 60s;
  Serve();
  test::RawClient stuck(server->port(), "127.0.0.1", 4096);
  stuck.Upgrade();
  stuck.SendFrame(1, test::SubscribeText({"a"}));
  Push(AwaitHandle(), Envelope("a", 1, 24 * 1024 * 1024));
  ASSERT_TRUE(stuck.WaitForOctets(200));
  for (int ping = 0; ping < 2; ++ping) {
    std::this_thread::sleep_for(1200ms);  // a ping waits behind the fragment that the client does not take
    stuck.SendFrame(10, "");
  }
  EXPECT_LT(TimeToStop(), 900ms);
}

TEST_F(WebServerStopTest, StopsWhileOtherThreadsKeepSending) {
  for (int round = 0; round < 10; ++round) {
    Serve();
    auto client = Subscribed("a");
    lws* const handle = AwaitHandle();
    std::atomic<bool> is_over{false};
    std::atomic<int> sent{0};
    const auto keep_sending = [&](const std::string& sid) {
      while (!is_over) {
        if (const SalSendByCon send = GetSalSendByCon()) send(handle, Envelope(sid, ++sent, 10'000));
      }
    };
    std::thread first(keep_sending, "a");
    std::thread second(keep_sending, "b");
    // A send function that was fetched before the stop is called after it, too.
    std::thread late([&, send = GetSalSendByCon()] {
      while (!is_over) send(handle, Envelope("c", ++sent));
    });
    EXPECT_TRUE(Eventually([&] { return sent > 50; }));
    EXPECT_THAT(Next(client), HasSubstr("Topic"));
    server->Stop();
    const int sent_at_stop = sent;
    EXPECT_TRUE(Eventually([&] { return sent > sent_at_stop + 50; }));
    is_over = true;
    first.join();
    second.join();
    late.join();
  }
}

TEST_F(WebServerStopTest, StopsWhileClientsComeAndGo) {
  settings.limits.connections_per_address = 100;
  Serve();
  const auto options = Options();
  std::atomic<bool> is_over{false};
  std::atomic<int> visits{0};
  std::vector<std::thread> visitors;
  for (int i = 0; i < 3; ++i) {
    visitors.emplace_back([&] {
      while (!is_over) {
        try {
          probe::WebsocketClient client(options);
          client.SendText(test::SubscribeText({"a"}));
          ++visits;
        } catch (const probe::ClientError&) {  // the server is gone, as it should be
        }
      }
    });
  }
  EXPECT_TRUE(Eventually([&] { return visits > 30; }));
  EXPECT_LT(TimeToStop(), 900ms);
  is_over = true;
  for (auto& visitor : visitors) visitor.join();
  EXPECT_THAT(Handles(), IsEmpty());
}

TEST_F(WebServerStopTest, TellsItsOwnerThatTheEventLoopHasFailed) {
  settings.limits.connections_per_address = 1;
  std::promise<std::string> told;
  probe::WebServer failing(settings, service, {}, [&](const std::string& why) { told.set_value(why); });
  failing.Start();
  // the first line is written where a connection is accepted, the other one where that has failed: outside of any
  // connection that could end in place of the loop
  probe::log::SetWriter([](probe::log::Level, int, const std::string& text) {
    for (const char* line : {"too many rejections are pending", "an accepted connection could not be served"})
      if (text.find(line) != std::string::npos) throw std::runtime_error("the disk is full");
  });
  test::RawClient watcher(failing.port());
  watcher.Upgrade();
  watcher.SendFrame(1, test::SubscribeText({"a"}));
  AwaitHandle();
  std::vector<std::unique_ptr<test::RawClient>> clients;
  for (std::size_t i = 0; i < probe::ConnectionLimiter::kMaxRejected + 1; ++i)
    clients.push_back(std::make_unique<test::RawClient>(failing.port()));
  auto why = told.get_future();
  ASSERT_EQ(why.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(why.get(), "the disk is full");
  EXPECT_THAT(Handles("a"), IsEmpty());
  failing.Stop();
  for (const auto& client : clients) EXPECT_EQ(client->ReadAll(), "");
}

}  // namespace
