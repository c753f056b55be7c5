#include "probe/server/web_server.h"

#include <utility>

#include "probe/host/log.h"
#include "probe/server/event_loop.h"

namespace probe {

WebServer::WebServer(ServerSettings settings, SubscriptionService& service, HttpService http, OnFailure on_failure)
    : settings_(std::move(settings)), service_(service), http_(std::move(http)), on_failure_(std::move(on_failure)) {}

WebServer::~WebServer() {
  Stop();
}

void WebServer::Start() {
  if (loop_ != nullptr) return;
  RequireServable(settings_);
  loop_ = std::make_unique<EventLoop>(settings_, service_, http_, on_failure_);
  log::Info("[WebServer] serving on port %u", static_cast<unsigned>(loop_->port()));
}

void WebServer::Stop() {
  loop_.reset();
}

ConnectionId WebServer::AddLocalReceiver(std::function<void(const std::string& text)> receiver) {
  return loop_ == nullptr ? kNoConnection : loop_->AddLocalReceiver(std::move(receiver));
}

std::uint16_t WebServer::port() const {
  return loop_ == nullptr ? 0 : loop_->port();
}

std::vector<std::string> WebServer::addresses() const {
  return loop_ == nullptr ? std::vector<std::string>{} : loop_->addresses();
}

}  // namespace probe
