#include "probe/server/web_server.h"

#include <libwebsockets.h>
#include <openssl/ssl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "probe/logging/log.h"
#include "probe/server/fragment.h"
#include "probe/server/ip_address.h"
#include "probe/server/library_log.h"
#include "probe/server/open_files.h"
#include "probe/server/port_reservation.h"
#include "probe/server/post_office.h"
#include "probe/server/server_loop.h"

namespace probe {
namespace {

using Fate = ServerLoop::Fate;

// How long clients may take to answer the farewell when the server stops.
constexpr std::chrono::milliseconds kStopGrace{250};

// How long a client may take for its request, its TLS handshake, its answer to a close.
constexpr unsigned kHandshakeSeconds = 10;

// How much of a message the library reads before it hands it over.
constexpr std::size_t kReceiveBytes = 4096;

}  // namespace

/// One run of the server, from `Start` to `Stop`.
class WebServer::Running {
 public:
  Running(ServerSettings settings, SubscriptionService& service, HttpService http);
  ~Running();

  lws* OpenWithin(std::function<void(const std::string& text)> receiver);
  std::uint16_t port() const { return port_; }
  const std::vector<std::string>& addresses() const { return addresses_; }

  static int OnEvent(lws* socket, lws_callback_reasons reason, void* session, void* data, std::size_t length);

 private:
  /// A timer of the library's, with the run that it belongs to.
  struct Timer {
    lws_sorted_usec_list_t node{};
    Running* run = nullptr;
  };

  void CreateContext(const ServerSettings& settings);
  void Listen(const ServerSettings& settings, const std::string& address);
  void Run();
  void BeginStop();
  Fate Dispatch(lws* socket, lws_callback_reasons reason, void* data, std::size_t length);
  Fate DispatchOpen(Connection& connection, lws_callback_reasons reason, void* data, std::size_t length);
  Fate OnWake();
  void ArmWatch();
  static void OnWatch(lws_sorted_usec_list_t* node);
  static void OnGraceOver(lws_sorted_usec_list_t* node);

  std::vector<std::string> addresses_;  // the library keeps pointers into it
  std::uint16_t port_ = 0;
  lws_retry_bo_t idle_policy_{};
  lws_context* context_ = nullptr;
  std::shared_ptr<PostOffice> office_;
  std::unique_ptr<ServerLoop> loop_;
  std::atomic<bool> must_stop_{false};
  bool is_stopping_ = false;  // server thread only, from here on
  bool is_grace_over_ = false;
  bool is_watch_armed_ = false;
  Timer watch_;
  Timer grace_;
  std::thread thread_;
};

WebServer::Running::Running(ServerSettings settings, SubscriptionService& service, HttpService http) {
  const ServerSettings defaults;
  const PortReservation reserved(settings.listen, settings.port, settings.listen == defaults.listen);
  addresses_ = reserved.addresses();
  port_ = reserved.port();
  settings.limits.connections = AffordableConnections(settings.limits.connections);
  office_ = std::make_shared<PostOffice>([this] { lws_cancel_service(context_); });
  loop_ = std::make_unique<ServerLoop>(settings, port_, service, office_, std::move(http));
  watch_.run = this;
  grace_.run = this;
  try {
    CreateContext(settings);
    for (const std::string& address : addresses_) Listen(settings, address);
    if (!PostOffice::Install(office_)) throw std::runtime_error("this process runs a web server already");
    thread_ = std::thread([this] { Run(); });
  } catch (...) {
    PostOffice::Withdraw(office_);
    if (context_ != nullptr) lws_context_destroy(context_);
    throw;
  }
}

WebServer::Running::~Running() {
  PostOffice::Withdraw(office_);
  must_stop_ = true;
  office_->WakeServer();
  thread_.join();
}

lws* WebServer::Running::OpenWithin(std::function<void(const std::string& text)> receiver) {
  lws* const handle = PostOffice::NewHandle();
  office_->OpenWithin(handle, std::move(receiver));
  return handle;
}

void WebServer::Running::CreateContext(const ServerSettings& settings) {
  TakeOverLibraryLog();
  lws_context_creation_info info{};
  info.options = LWS_SERVER_OPTION_EXPLICIT_VHOSTS;
  if (!settings.tls_certificate.empty()) info.options |= LWS_SERVER_OPTION_DO_SSL_GLOBAL_INIT;
  info.user = this;
  info.server_string = "vexora-probe";
  info.timeout_secs = kHandshakeSeconds;
  info.fd_limit_per_thread =
      static_cast<unsigned>(settings.limits.connections + Gate::kTurnedAway + addresses_.size() + kOtherDescriptors);
  context_ = lws_create_context(&info);
  if (context_ == nullptr) throw std::runtime_error("the web server cannot be set up");
}

void WebServer::Running::Listen(const ServerSettings& settings, const std::string& address) {
  static const lws_protocols protocols[] = {
      {"vexora-probe", &Running::OnEvent, 0, kReceiveBytes, 0, nullptr, kFragmentBytes + LWS_PRE},
      {nullptr, nullptr, 0, 0, 0, nullptr, 0}};
  idle_policy_.secs_since_valid_ping = static_cast<std::uint16_t>(settings.limits.ping_after.count());
  idle_policy_.secs_since_valid_hangup = static_cast<std::uint16_t>(settings.limits.hang_up_after.count());
  lws_context_creation_info info{};
  info.vhost_name = address.c_str();
  info.iface = address.c_str();
  info.port = port_;
  info.protocols = protocols;
  info.retry_and_idle_policy = &idle_policy_;
  info.alpn = "http/1.1";
  info.options =
      LWS_SERVER_OPTION_FAIL_UPON_UNABLE_TO_BIND | LWS_SERVER_OPTION_HTTP_HEADERS_SECURITY_BEST_PRACTICES_ENFORCE;
  info.options |= address.find(':') == std::string::npos
                      ? LWS_SERVER_OPTION_DISABLE_IPV6
                      : (LWS_SERVER_OPTION_IPV6_V6ONLY_MODIFY | LWS_SERVER_OPTION_IPV6_V6ONLY_VALUE);
  if (!settings.tls_certificate.empty()) {
    info.options |= LWS_SERVER_OPTION_DO_SSL_GLOBAL_INIT;
    info.ssl_cert_filepath = settings.tls_certificate.c_str();
    info.ssl_private_key_filepath = settings.tls_key.c_str();
    info.ssl_options_set = static_cast<long>(SSL_OP_NO_TLSv1 | SSL_OP_NO_TLSv1_1);
  }
  if (lws_create_vhost(context_, &info) == nullptr)
    throw std::runtime_error("cannot listen on " + address + " port " + std::to_string(port_) +
                             (settings.tls_certificate.empty() ? "" : ", or the TLS certificate or key is not valid"));
}

void WebServer::Running::Run() {
  while (!is_stopping_ || (loop_->has_connections() && !is_grace_over_)) {
    if (lws_service(context_, 0) < 0) {
      log::Error("[WebServer] the event loop failed: the probe stops, for it can serve nobody any more");
      kill(getpid(), SIGTERM);
      break;
    }
  }
  office_->CloseAll();
  lws_context_destroy(context_);  // with it, the last connections
}

void WebServer::Running::BeginStop() {
  if (std::exchange(is_stopping_, true)) return;
  loop_->BeginStop();
  lws_sul_schedule(context_, 0, &grace_.node, &Running::OnGraceOver,
                   std::chrono::duration_cast<std::chrono::microseconds>(kStopGrace).count());
}

void WebServer::Running::OnGraceOver(lws_sorted_usec_list_t* node) {
  Running& run = *lws_container_of(node, Timer, node)->run;
  run.is_grace_over_ = true;
  // The library calls timers before it waits for the sockets, and would go on to wait as long as they stay quiet.
  run.office_->WakeServer();
}

void WebServer::Running::ArmWatch() {
  if (std::exchange(is_watch_armed_, true)) return;
  lws_sul_schedule(context_, 0, &watch_.node, &Running::OnWatch, loop_->watch_interval().count());
}

void WebServer::Running::OnWatch(lws_sorted_usec_list_t* node) {
  Running& run = *lws_container_of(node, Timer, node)->run;
  run.is_watch_armed_ = false;
  if (run.loop_->WatchProgress(ServerLoop::Clock::now())) run.ArmWatch();
}

Fate WebServer::Running::OnWake() {
  if (must_stop_) BeginStop();
  loop_->OnMail();
  ArmWatch();
  return Fate::kKeep;
}

int WebServer::Running::OnEvent(lws* socket, lws_callback_reasons reason, void*, void* data, std::size_t length) {
  auto* run = static_cast<Running*>(lws_context_user(lws_get_context(socket)));
  if (run == nullptr) return 0;
  try {
    const Fate fate = run->Dispatch(socket, reason, data, length);
    if (fate == Fate::kKeep) return 0;
    return reason == LWS_CALLBACK_HTTP_CONFIRM_UPGRADE ? 1 : -1;  // 1: the answer is written
  } catch (const std::exception& failure) {
    log::Error("[WebServer] a connection is closed: %s", failure.what());
    return -1;
  }
}

Fate WebServer::Running::Dispatch(lws* socket, lws_callback_reasons reason, void* data, std::size_t length) {
  switch (reason) {
    case LWS_CALLBACK_EVENT_WAIT_CANCELLED:
      return OnWake();
    case LWS_CALLBACK_FILTER_NETWORK_CONNECTION:
      // the library passes the descriptor in the pointer
      return loop_->OnAccept(PeerAddress(static_cast<int>(reinterpret_cast<std::intptr_t>(data))));
    case LWS_CALLBACK_WSI_CREATE:
      loop_->OnSocketCreated(socket);
      return Fate::kKeep;
    case LWS_CALLBACK_WSI_DESTROY:
      loop_->OnRequestGone(socket);
      loop_->OnSocketGone(socket);
      return Fate::kKeep;
    case LWS_CALLBACK_HTTP_CONFIRM_UPGRADE:
      return loop_->OnUpgradeRequest(socket);
    case LWS_CALLBACK_FILTER_HTTP_CONNECTION:
      return loop_->OnPlainRequest(socket);
    case LWS_CALLBACK_HTTP:
      loop_->OnAnswerAwaited(socket);  // it was begun above; a worker is at it
      return Fate::kKeep;
    case LWS_CALLBACK_HTTP_WRITEABLE:
      return loop_->OnAnswerWritable(socket);
    case LWS_CALLBACK_CLOSED_HTTP:
      loop_->OnRequestGone(socket);
      return Fate::kKeep;
    case LWS_CALLBACK_ESTABLISHED:
      loop_->OnOpen(socket);
      return Fate::kKeep;
    case LWS_CALLBACK_RAW_ADOPT:  // what the library makes of a CONNECT request
    case LWS_CALLBACK_RAW_RX:
      return Fate::kClose;
    case LWS_CALLBACK_RECEIVE:
    case LWS_CALLBACK_SERVER_WRITEABLE:
    case LWS_CALLBACK_CLOSED:
      if (Connection* connection = ServerLoop::ConnectionOf(socket))
        return DispatchOpen(*connection, reason, data, length);
      return Fate::kKeep;
    default:
      return Fate::kKeep;
  }
}

Fate WebServer::Running::DispatchOpen(Connection& connection, lws_callback_reasons reason, void* data,
                                      std::size_t length) {
  if (reason == LWS_CALLBACK_SERVER_WRITEABLE) return loop_->OnWritable(connection);
  if (reason == LWS_CALLBACK_CLOSED) {
    loop_->OnClosed(connection);
    return Fate::kKeep;
  }
  loop_->OnReceive(connection, {static_cast<const char*>(data), length}, lws_frame_is_binary(connection.socket) != 0,
                   lws_is_final_fragment(connection.socket) != 0);
  ArmWatch();
  return Fate::kKeep;
}

WebServer::WebServer(ServerSettings settings, SubscriptionService& service, HttpService http)
    : settings_(std::move(settings)), service_(service), http_(std::move(http)) {}

WebServer::~WebServer() {
  Stop();
}

void WebServer::Start() {
  if (running_ != nullptr) return;
  RequireServable(settings_);
  running_ = std::make_unique<Running>(settings_, service_, http_);
  log::Info("[WebServer] serving on port %u", static_cast<unsigned>(running_->port()));
}

void WebServer::Stop() {
  running_.reset();
}

lws* WebServer::OpenWithin(std::function<void(const std::string& text)> receiver) {
  return running_ == nullptr ? nullptr : running_->OpenWithin(std::move(receiver));
}

std::uint16_t WebServer::port() const {
  return running_ == nullptr ? 0 : running_->port();
}

std::vector<std::string> WebServer::addresses() const {
  return running_ == nullptr ? std::vector<std::string>{} : running_->addresses();
}

}  // namespace probe
