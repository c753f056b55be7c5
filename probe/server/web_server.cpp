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
#include "probe/server/net/trusted_proxies.h"
#include "probe/server/websocket/message_router.h"
#include "probe/server/websocket/outbox.h"
#include "probe/server/websocket/push_budget.h"

namespace probe {
namespace {

// How long clients may take to confirm that their connection is closed when the server stops.
constexpr std::chrono::milliseconds kStopGrace{250};

}  // namespace

/// Connections with no client behind them. It may outlive the event loop: then nobody sends to them any more.
///
/// Threads: any.
class WebServer::LocalReceivers {
 public:
  LocalReceivers(std::shared_ptr<MessageRouter> router, std::shared_ptr<PushBudget> budget)
      : router_(std::move(router)), budget_(std::move(budget)) {}

  ConnectionId Add(std::function<void(const std::string& text)> receiver) {
    const ConnectionId connection = router_->AddLocalReceiver(std::move(receiver));
    budget_->AddHostReceiver(connection);
    return connection;
  }
  void Remove(ConnectionId connection) {
    router_->Remove(connection);
    budget_->RemoveHostReceiver(connection);
  }

 private:
  const std::shared_ptr<MessageRouter> router_;
  const std::shared_ptr<PushBudget> budget_;
};

/// One run of the server, from `Start` to `Stop`: its thread and what that owns.
///
/// Threads: made and destroyed on one thread. Other threads reach what runs on the loop by posting to it only.
class WebServer::EventLoop {
 public:
  EventLoop(ServerSettings settings, SubscriptionService& service, std::shared_ptr<ServerCounts> counts,
            std::shared_ptr<QueueTotal> queues, HttpService http, OnFailure on_failure)
      : on_failure_(std::move(on_failure)),
        service_(service),
        budget_(std::make_shared<PushBudget>(settings.limits)),
        queues_(std::move(queues)),
        listener_(io_, settings.listen, settings.port, settings.listen == ServerSettings().listen),
        tls_(MakeTlsContext(settings)) {
    settings.limits.connections = RaiseDescriptorLimit(settings.limits.connections);
    connections_ = std::make_unique<ConnectionManager>(io_, settings, listener_.port(), service, router_, budget_,
                                                       queues_, std::move(counts), std::move(http));
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
    auto change = std::make_shared<Change>(Change{AccessRules(settings, listener_.port()),
                                                  TrustedProxies(settings.trusted_proxies), MakeTlsContext(settings)});
    return [this, change] {
      boost::asio::post(io_, [this, change] {
        tls_ = std::move(change->tls);
        connections_->Replace(std::move(change->rules), std::move(change->proxies));
      });
    };
  }

  const Listener& listener() const { return listener_; }
  std::shared_ptr<LocalReceivers> MakeReceivers() const { return std::make_shared<LocalReceivers>(router_, budget_); }

 private:
  struct Change {
    AccessRules rules;
    TrustedProxies proxies;
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
    : settings_(std::move(settings)),
      service_(service),
      http_(std::move(http)),
      on_failure_(std::move(on_failure)),
      counts_(std::make_shared<ServerCounts>()),
      queues_(std::make_shared<QueueTotal>(settings_.limits.all_queues_bytes)) {}

WebServer::~WebServer() {
  Stop();
}

void WebServer::Start() {
  if (loop_ != nullptr) return;
  RequireServable(settings_);
  loop_ = std::make_unique<EventLoop>(settings_, service_, counts_, queues_, http_, on_failure_);
  {
    const utilities::lock::lock_guard held(receivers_lock_);
    receivers_ = loop_->MakeReceivers();
  }
  log::Info("[WebServer] serving on port %u", static_cast<unsigned>(port()));
}

std::function<void()> WebServer::PrepareReload(const ServerSettings& settings) {
  ServerSettings next = settings_;
  next.token = settings.token;
  next.named_tokens = settings.named_tokens;
  next.tls_certificate = settings.tls_certificate;
  next.tls_key = settings.tls_key;
  next.allowed_hosts = settings.allowed_hosts;
  next.allowed_origins = settings.allowed_origins;
  next.trusted_proxies = settings.trusted_proxies;
  RequireServable(next);
  return loop_->PrepareReload(next);
}

void WebServer::Stop() {
  {
    // A request that is being answered keeps those that it has asked for.
    const utilities::lock::lock_guard held(receivers_lock_);
    receivers_ = nullptr;
  }
  loop_.reset();
}

std::shared_ptr<WebServer::LocalReceivers> WebServer::receivers() const {
  const utilities::lock::lock_guard held(receivers_lock_);
  return receivers_;
}

ConnectionId WebServer::AddLocalReceiver(std::function<void(const std::string& text)> receiver) {
  const auto current = receivers();
  return current == nullptr ? kNoConnection : current->Add(std::move(receiver));
}

void WebServer::RemoveLocalReceiver(ConnectionId connection) {
  if (const auto current = receivers()) current->Remove(connection);
}

std::size_t WebServer::queued_octets() const {
  return loop_ == nullptr ? 0 : queues_->octets();
}

std::uint16_t WebServer::port() const {
  return loop_ == nullptr ? 0 : loop_->listener().port();
}

std::vector<std::string> WebServer::addresses() const {
  return loop_ == nullptr ? std::vector<std::string>{} : loop_->listener().addresses();
}

}  // namespace probe
