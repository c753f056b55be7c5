#include "probe/server/web_server.h"

#include <utility>

#include "probe/host/log.h"
#include "probe/server/event_loop.h"

namespace probe {

WebServer::WebServer(ServerSettings settings, SubscriptionService& service, HttpService http)
    : settings_(std::move(settings)), service_(service), http_(std::move(http)) {}

WebServer::~WebServer() {
  Stop();
}

void WebServer::Start() {
  if (running_ != nullptr) return;
  RequireServable(settings_);
  running_ = std::make_unique<ServerRun>(settings_, service_, http_);
  log::Info("[WebServer] serving on port %u", static_cast<unsigned>(running_->port()));
}

void WebServer::Stop() {
  running_.reset();
}

ConnectionId WebServer::OpenWithin(std::function<void(const std::string& text)> receiver) {
  return running_ == nullptr ? kNoConnection : running_->OpenWithin(std::move(receiver));
}

std::uint16_t WebServer::port() const {
  return running_ == nullptr ? 0 : running_->port();
}

std::vector<std::string> WebServer::addresses() const {
  return running_ == nullptr ? std::vector<std::string>{} : running_->addresses();
}

}  // namespace probe
