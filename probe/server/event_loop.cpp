#include "probe/server/event_loop.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <exception>
#include <stdexcept>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/net/descriptor_limit.h"
#include "probe/server/net/ip_address.h"
#include "probe/server/net/port_reservation.h"

namespace probe {
namespace {

// How long clients may take to answer the farewell when the server stops.
constexpr std::chrono::milliseconds kStopGrace{250};

}  // namespace

ServerRun::ServerRun(ServerSettings settings, SubscriptionService& service, HttpService http)
    : office_(std::make_shared<PostOffice>([this] { context_->Wake(); })),
      watch_([this] {
        if (loop_->WatchProgress(ServerLoop::Clock::now())) ArmWatch();
      }),
      grace_([this] {
        is_grace_over_ = true;
        // The library calls timers before it waits for the sockets, and would go on to wait as long as they stay quiet.
        office_->WakeServer();
      }) {
  const ServerSettings defaults;
  const PortReservation reserved(settings.listen, settings.port, settings.listen == defaults.listen);
  addresses_ = reserved.addresses();
  port_ = reserved.port();
  settings.limits.connections = AffordableConnections(settings.limits.connections);
  loop_ = std::make_unique<ServerLoop>(settings, port_, service, office_, std::move(http));
  context_ = std::make_unique<ListeningContext>(settings, addresses_, port_, &ServerRun::OnEvent, this);
  if (!PostOffice::Install(office_)) throw std::runtime_error("this process runs a web server already");
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (...) {
    PostOffice::Withdraw(office_);
    throw;
  }
}

ServerRun::~ServerRun() {
  PostOffice::Withdraw(office_);
  must_stop_ = true;
  office_->WakeServer();
  thread_.join();
}

ConnectionId ServerRun::OpenWithin(std::function<void(const std::string& text)> receiver) {
  const ConnectionId connection = PostOffice::NewConnectionId();
  office_->OpenWithin(connection, std::move(receiver));
  return connection;
}

void ServerRun::Run() {
  while (!is_stopping_ || (loop_->has_connections() && !is_grace_over_)) {
    if (!context_->Serve()) {
      log::Error("[WebServer] the event loop failed: the probe stops, for it can serve nobody any more");
      kill(getpid(), SIGTERM);
      break;
    }
  }
  office_->CloseAll();
  context_.reset();  // with it, the last connections
}

void ServerRun::BeginStop() {
  if (std::exchange(is_stopping_, true)) return;
  loop_->BeginStop();
  grace_.Arm(context_->get(), kStopGrace);
}

void ServerRun::ArmWatch() {
  watch_.Arm(context_->get(), loop_->watch_interval());
}

int ServerRun::OnEvent(lws* socket, lws_callback_reasons reason, void*, void* data, std::size_t length) {
  auto* run = static_cast<ServerRun*>(lws_context_user(lws_get_context(socket)));
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

ServerRun::Fate ServerRun::Dispatch(lws* socket, lws_callback_reasons reason, void* data, std::size_t length) {
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

ServerRun::Fate ServerRun::DispatchOpen(Connection& connection, lws_callback_reasons reason, void* data,
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

ServerRun::Fate ServerRun::OnWake() {
  if (must_stop_) BeginStop();
  loop_->OnMail();
  ArmWatch();
  return Fate::kKeep;
}

}  // namespace probe
