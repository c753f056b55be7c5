#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "platform/utilities/locks.h"
#include "probe/host/connection_id.h"
#include "probe/server/websocket/outbox.h"

namespace probe {

/// Takes messages from any thread and puts them into the outboxes of their connections, for the event loop to write.
///
/// Threads: any.
class MessageRouter {
 public:
  /// Wakes the event loop, which then calls `TakePending`. Called with a lock held: it must only wake.
  using Wake = std::function<void()>;

  /// Is told of each message for a client or the host's own receivers, on the thread that sends it.
  using Observer = std::function<void(ConnectionId connection, const std::string& text)>;

  /// `total`: where the messages count as long as they wait; null: nowhere.
  explicit MessageRouter(Wake wake, std::shared_ptr<QueueTotal> total = nullptr, Observer observer = {});

  /// An id that no connection ever had in this process.
  static ConnectionId NewId();

  /// Messages for this connection go into `outbox` from now on. `peer`: how the log calls the client.
  void Add(ConnectionId connection, std::shared_ptr<Outbox> outbox, std::string peer) VEXORA_EXCLUDES(lock_);

  /// A connection with no client behind it: what is sent to it goes to `receiver`, on the thread that sends.
  ConnectionId AddLocalReceiver(std::function<void(const std::string& text)> receiver) VEXORA_EXCLUDES(lock_);

  /// Messages for this connection are dropped from now on.
  void Remove(ConnectionId connection) VEXORA_EXCLUDES(lock_);

  /// Messages for any connection are dropped, and nobody is woken any more once this has returned.
  void RemoveAll() VEXORA_EXCLUDES(lock_);

  /// Puts a message into a connection's outbox and wakes the event loop. Dropped for an unknown connection.
  void Send(ConnectionId connection, const std::string& text) VEXORA_EXCLUDES(lock_);

  /// Logs that a connection has lost a message for the first time.
  static void LogFirstDrop(ConnectionId connection, const std::string& peer);

  /// The connections that have got something to send since the last call. Threads: the event loop's only.
  std::set<ConnectionId> TakePending() VEXORA_EXCLUDES(lock_);

  /// Makes this the router of `GetSalSendByCon`, until `Withdraw`.
  ///
  /// Fails: false when the process has one already.
  static bool Install(const std::shared_ptr<MessageRouter>& router);

  /// Nothing is installed any more. A send in progress completes: it shares ownership of the router.
  static void Withdraw(const std::shared_ptr<MessageRouter>& router);

 private:
  struct Route {
    std::shared_ptr<Outbox> outbox;
    std::string peer;
    std::function<void(const std::string& text)> receiver;
  };

  Route Find(ConnectionId connection) const VEXORA_EXCLUDES(lock_);
  std::shared_ptr<const OutgoingMessage> MessageOf(const std::string& text) VEXORA_EXCLUDES(lock_);
  void WakeFor(ConnectionId connection) VEXORA_EXCLUDES(lock_);

  const std::shared_ptr<QueueTotal> total_;
  const Observer observer_;
  mutable utilities::lock::Mutex lock_;
  Wake wake_ VEXORA_GUARDED_BY(lock_);
  std::map<ConnectionId, Route> routes_ VEXORA_GUARDED_BY(lock_);
  std::set<ConnectionId> pending_ VEXORA_GUARDED_BY(lock_);
  std::weak_ptr<const OutgoingMessage> last_ VEXORA_GUARDED_BY(lock_);  // that was sent to anybody
};

}  // namespace probe
