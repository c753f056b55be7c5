#include "probe/server/web_server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <thread>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/connection_manager.h"
#include "probe/server/http/access_rules.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/listener.h"
#include "probe/server/net/timer.h"
#include "probe/server/net/tls_context.h"
#include "probe/server/net/transport.h"
#include "probe/server/websocket/message_router.h"
#include "probe/server/websocket/outbox.h"
#include "probe/server/websocket/push_budget.h"

namespace probe {
namespace {

// How long clients may take to confirm that their connection is closed when the server stops.
constexpr std::chrono::milliseconds kStopGrace{250};

}  // namespace

/// One run of the server, from `Start` to `Stop`: its thread and what that owns.
///
/// Threads: made and destroyed on one thread. Other threads reach what runs on the loop by posting to it only.
class WebServer::EventLoop {
 public:
  EventLoop(ServerSettings settings, SubscriptionService& service, HttpService http, OnFailure on_failure)
      : on_failure_(std::move(on_failure)),
        service_(service),
        budget_(std::make_shared<PushBudget>(settings.limits)),
        queues_(std::make_shared<QueueTotal>(settings.limits.all_queues_bytes)),
        listener_(io_, settings.listen, settings.port, settings.listen == ServerSettings().listen),
        tls_(MakeTlsContext(settings)) {
    settings.limits.connections = RaiseDescriptorLimit(settings.limits.connections);
    connections_ = std::make_unique<ConnectionManager>(io_, settings, listener_.port(), service, router_, budget_,
                                                       queues_, std::move(http));
    if (!MessageRouter::Install(router_)) throw std::runtime_error("this process runs a web server already");
    service_.SetPushGate(budget_);
    try {
      listener_.Start(
          [this](Transport::Socket socket) { connections_->OnAccept(MakeTransport(std::move(socket), tls_.get())); });
      thread_ = std::thread([this] { Run(); });
    } catch (...) {
      service_.SetPushGate(nullptr);
      MessageRouter::Withdraw(router_);
      throw;
    }
  }

  ~EventLoop() {
    service_.SetPushGate(nullptr);
    MessageRouter::Withdraw(router_);
    boost::asio::post(io_, [this] { StartStop(); });
    thread_.join();
  }
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  std::function<void()> PrepareReload(const ServerSettings& settings) {
    // Those who are connected keep the context that they began with: the TLS library counts who uses it.
    auto change = std::make_shared<Change>(Change{AccessRules(settings, listener_.port()), MakeTlsContext(settings)});
    return [this, change] {
      boost::asio::post(io_, [this, change] {
        tls_ = std::move(change->tls);
        connections_->Replace(std::move(change->rules));
      });
    };
  }

  const Listener& listener() const { return listener_; }
  ConnectionId AddLocalReceiver(std::function<void(const std::string& text)> receiver) {
    const ConnectionId connection = router_->AddLocalReceiver(std::move(receiver));
    budget_->AddHostReceiver(connection);
    return connection;
  }
  const QueueTotal& queues() const { return *queues_; }

 private:
  struct Change {
    AccessRules rules;
    std::unique_ptr<boost::asio::ssl::context> tls;
  };

  void Run() {
    try {
      io_.run();  // until it has nothing left to wait for: `FinishStop`
    } catch (const std::exception& failure) {
      log::Error("[WebServer] the event loop failed, and nobody is served any more: %s", failure.what());
      listener_.Close();
      connections_->AbortAll();  // which drops the subscriptions, too: the engine composes for nobody
      if (on_failure_) on_failure_(failure.what());
    }
    router_->RemoveAll();
  }

  void StartStop() {
    listener_.Close();
    grace_.Start(kStopGrace, [this] { FinishStop(); });
    connections_->StartStop([this] { FinishStop(); });
  }

  void FinishStop() {
    grace_.Stop();
    connections_->AbortAll();
  }

  const OnFailure on_failure_;
  SubscriptionService& service_;
  boost::asio::io_context io_{1};
  const std::shared_ptr<PushBudget> budget_;
  const std::shared_ptr<QueueTotal> queues_;
  const std::shared_ptr<MessageRouter> router_ = std::make_shared<MessageRouter>(
      [this] { boost::asio::post(io_, [this] { connections_->OnWakeup(); }); }, queues_,
      [budget = budget_](ConnectionId connection, const std::string& text) { budget->OnSent(connection, text); });
  Listener listener_;
  std::unique_ptr<boost::asio::ssl::context> tls_;  // null: no TLS; once it runs, the loop's thread only
  std::unique_ptr<ConnectionManager> connections_;
  Timer grace_{io_.get_executor()};
  std::thread thread_;
};

WebServer::WebServer(ServerSettings settings, SubscriptionService& service, HttpService http, OnFailure on_failure)
    : settings_(std::move(settings)), service_(service), http_(std::move(http)), on_failure_(std::move(on_failure)) {}

WebServer::~WebServer() = default;

void WebServer::Start() {
  if (loop_ != nullptr) return;
  RequireServable(settings_);
  loop_ = std::make_unique<EventLoop>(settings_, service_, http_, on_failure_);
  log::Info("[WebServer] serving on port %u", static_cast<unsigned>(port()));
}

std::function<void()> WebServer::PrepareReload(const ServerSettings& settings) {
  ServerSettings next = settings_;
  next.token = settings.token;
  next.tls_certificate = settings.tls_certificate;
  next.tls_key = settings.tls_key;
  next.allowed_hosts = settings.allowed_hosts;
  next.allowed_origins = settings.allowed_origins;
  RequireServable(next);
  return loop_->PrepareReload(next);
}

void WebServer::Stop() {
  loop_.reset();
}

ConnectionId WebServer::AddLocalReceiver(std::function<void(const std::string& text)> receiver) {
  return loop_ == nullptr ? kNoConnection : loop_->AddLocalReceiver(std::move(receiver));
}

std::size_t WebServer::queued_octets() const {
  return loop_ == nullptr ? 0 : loop_->queues().octets();
}

std::uint16_t WebServer::port() const {
  return loop_ == nullptr ? 0 : loop_->listener().port();
}

std::vector<std::string> WebServer::addresses() const {
  return loop_ == nullptr ? std::vector<std::string>{} : loop_->listener().addresses();
}

}  // namespace probe
