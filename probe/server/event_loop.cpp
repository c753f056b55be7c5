#include "probe/server/event_loop.h"

#include <boost/asio/post.hpp>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/net/descriptor_limit.h"
#include "probe/server/net/port_reservation.h"
#include "probe/server/net/transport.h"

namespace probe {
namespace {

// How long clients may take to confirm that their connection is closed when the server stops.
constexpr std::chrono::milliseconds kStopGrace{250};

}  // namespace

EventLoop::EventLoop(ServerSettings settings, SubscriptionService& service, HttpService http,
                     std::function<void(const std::string& why)> on_failure)
    : on_failure_(std::move(on_failure)),
      io_(1),
      router_(std::make_shared<MessageRouter>([this] { boost::asio::post(io_, [this] { events_->OnWakeup(); }); })),
      grace_(io_.get_executor()) {
  const ServerSettings defaults;
  PortReservation reserved(settings.listen, settings.port, settings.listen == defaults.listen);
  addresses_ = reserved.addresses();
  port_ = reserved.port();
  if (!settings.tls_certificate.empty()) tls_ = std::make_unique<TlsContext>(settings);
  settings.limits.connections = RaiseDescriptorLimit(settings.limits.connections);
  listener_ = std::make_unique<Listener>(io_, reserved.TakeSockets(), [this](Transport::Socket socket) {
    events_->OnAccept(MakeTransport(std::move(socket), tls_.get()));
  });
  events_.emplace(io_, settings, port_, service, router_, std::move(http));
  if (!MessageRouter::Install(router_)) throw std::runtime_error("this process runs a web server already");
  try {
    listener_->Start();
    thread_ = std::thread([this] { Run(); });
  } catch (...) {
    MessageRouter::Withdraw(router_);
    throw;
  }
}

EventLoop::~EventLoop() {
  MessageRouter::Withdraw(router_);
  boost::asio::post(io_, [this] { StartStop(); });
  thread_.join();
}

ConnectionId EventLoop::AddLocalReceiver(std::function<void(const std::string& text)> receiver) {
  const ConnectionId id = MessageRouter::NewId();
  router_->AddLocalReceiver(id, std::move(receiver));
  return id;
}

void EventLoop::Run() {
  try {
    io_.run();  // until it has nothing left to wait for: `FinishStop`
  } catch (const std::exception& failure) {
    log::Error("[WebServer] the event loop failed, and nobody is served any more: %s", failure.what());
    if (on_failure_) on_failure_(failure.what());
  }
  router_->RemoveAll();
}

void EventLoop::StartStop() {
  listener_->Close();
  grace_.Start(kStopGrace, [this] { FinishStop(); });
  events_->StartStop([this] { FinishStop(); });
}

void EventLoop::FinishStop() {
  grace_.Stop();
  events_->AbortAll();
}

}  // namespace probe
