#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/server_counts.h"
#include "probe/server/websocket/outbox.h"

namespace probe {

/// The probe's HTTP server, whose websocket clients subscribe to topics and get their messages.
///
/// One thread of its own owns all sockets. Messages come in from any thread through `GetSalSendByCon`, which puts them
/// into the connection's queue and wakes that thread. The protocol is described in docs/interfaces.md.
///
/// Threads: `Start` and `Stop` on one thread, and what says nothing else. One server a process can be running.
class WebServer {
 public:
  /// Told why the event loop has failed, which leaves nobody served; on its thread, so it must not call the server
  /// back.
  using OnFailure = std::function<void(const std::string& why)>;

  /// `service` must outlive the server, and so must what `http` refers to. Without `http` there is the websocket only.
  WebServer(ServerSettings settings, SubscriptionService& service, HttpService http = {}, OnFailure on_failure = {});

  /// Stops, if need be.
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  /// Listens, and serves from now on.
  ///
  /// Fails: throws `std::runtime_error` with a text for an administrator: the settings are unsafe, an address cannot
  ///        be listened on, a TLS file cannot be read. Nothing is open then.
  void Start();

  /// Closes every connection (1001), drops its subscriptions and stops listening. Takes no longer than half a second,
  /// whatever the clients do, unless a request is being answered that takes longer. A message that another thread is
  /// just sending is dropped.
  void Stop();

  /// What takes token, certificate, hosts, origins and proxies of other settings over when it is called; the rest stays
  /// as it was. Connections stay, but for websockets that were opened with another token (1008); the certificate is
  /// that of new connections.
  ///
  /// Threads: the one that started it; to be called before it stops. Fails: as `Start`; what is returned does not fail.
  std::function<void()> PrepareReload(const ServerSettings& settings);

  /// A connection with no client behind it, for the host's own subscriptions: what is sent to it goes to `receiver`, on
  /// the thread that sends, until the server stops.
  ///
  /// Threads: any, also while another stops it. Fails: `kNoConnection` while it does not run.
  ConnectionId AddLocalReceiver(std::function<void(const std::string& text)> receiver);

  /// Messages for this connection, one of `AddLocalReceiver`, are dropped from now on. Threads: any, as above.
  void RemoveLocalReceiver(ConnectionId connection);

  /// What it has at present, and what became of its messages. Threads: any, as long as the server is there.
  const ServerCounts& counts() const { return *counts_; }
  const QueueTotal& queues() const { return *queues_; }

  /// Octets of the messages that wait for clients or are being written to them, what several share counted once.
  std::size_t queued_octets() const;

  /// The port that it listens on, on every address; 0 before `Start`.
  std::uint16_t port() const;

  /// The addresses that it listens on, in their canonical notation; empty before `Start`.
  std::vector<std::string> addresses() const;

 private:
  class EventLoop;
  class LocalReceivers;

  std::shared_ptr<LocalReceivers> receivers() const VEXORA_EXCLUDES(receivers_lock_);

  ServerSettings settings_;
  SubscriptionService& service_;
  HttpService http_;
  OnFailure on_failure_;
  const std::shared_ptr<ServerCounts> counts_;
  const std::shared_ptr<QueueTotal> queues_;
  std::unique_ptr<EventLoop> loop_;  // null while it is stopped; for the thread that starts and stops it only
  mutable utilities::lock::Mutex receivers_lock_;
  // Those of `loop_`, for all threads: requests are answered until the loop has ended.
  std::shared_ptr<LocalReceivers> receivers_ VEXORA_GUARDED_BY(receivers_lock_);
};

}  // namespace probe
