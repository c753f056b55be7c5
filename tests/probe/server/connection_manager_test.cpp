#include "probe/server/connection_manager.h"

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "probe/host/subscription_service.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/server_counts.h"
#include "probe/server/websocket/message_router.h"
#include "probe/server/websocket/outbox.h"
#include "probe/server/websocket/push_budget.h"
#include "tests/probe/server/memory_transport.h"

namespace {

using ::testing::StartsWith;

constexpr char kUpgradeRequest[] =
    "GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";

/// When memory runs out.
enum class Shortage { kAtAccept, kAtStart, kAtUpgrade };

class FailingTransport final : public test::MemoryTransport {
 public:
  FailingTransport(boost::asio::io_context& loop, Shortage shortage, test::Outcome& outcome)
      : MemoryTransport(loop, kUpgradeRequest, sizeof kUpgradeRequest, outcome), shortage_(shortage) {}

  // for the timer of the HTTP connection, and then for that of the websocket
  executor_type get_executor() override {
    if (shortage_ == (is_http_ ? Shortage::kAtAccept : Shortage::kAtUpgrade)) throw std::bad_alloc();
    is_http_ = false;
    return MemoryTransport::get_executor();
  }
  void Handshake(std::function<void(Error error)> done) override {
    if (shortage_ == Shortage::kAtStart) throw std::bad_alloc();
    MemoryTransport::Handshake(std::move(done));
  }

 private:
  const Shortage shortage_;
  bool is_http_ = true;
};

class ConnectionManagerTest : public ::testing::Test {
 protected:
  ConnectionManagerTest() {
    settings.limits.connections = 1;
    manager = std::make_unique<probe::ConnectionManager>(
        loop, settings, 8765, service, router, std::make_shared<probe::PushBudget>(settings.limits),
        std::make_shared<probe::QueueTotal>(settings.limits.all_queues_bytes), std::make_shared<probe::ServerCounts>(),
        probe::HttpService{});
  }

  /// Serves a client until its connection has ended, and gives what it was sent.
  std::string Serve(std::unique_ptr<probe::Transport> transport, test::Outcome& outcome) {
    loop.restart();
    try {
      manager->OnAccept(std::move(transport));
    } catch (const std::bad_alloc&) {  // which the listener logs
    }
    loop.run();
    EXPECT_TRUE(outcome.has_ended);
    return outcome.sent;
  }

  boost::asio::io_context loop{1};
  probe::ServerSettings settings;
  probe::SubscriptionService service;
  std::shared_ptr<probe::MessageRouter> router = std::make_shared<probe::MessageRouter>([] {});
  std::unique_ptr<probe::ConnectionManager> manager;
};

TEST_F(ConnectionManagerTest, GivesBackThePlaceOfAConnectionForWhichMemoryRanOut) {
  for (const Shortage shortage : {Shortage::kAtAccept, Shortage::kAtStart, Shortage::kAtUpgrade}) {
    test::Outcome failed;
    EXPECT_EQ(Serve(std::make_unique<FailingTransport>(loop, shortage, failed), failed), "");
    test::Outcome next;
    EXPECT_THAT(
        Serve(std::make_unique<test::MemoryTransport>(loop, kUpgradeRequest, sizeof kUpgradeRequest, next), next),
        StartsWith("HTTP/1.1 101 "))
        << static_cast<int>(shortage);
  }
}

}  // namespace
