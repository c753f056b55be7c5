#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "platform/sending.h"
#include "platform/utilities/locks.h"
#include "probe/host/connection_id.h"
#include "probe/server/websocket/outbox.h"

namespace probe {

/// Takes messages from any thread and keeps them until the server thread writes them.
///
/// It is what stands between the engine and the sockets: the engine finds a connection's outbox here, puts its message
/// in and goes on. No id is given twice in the life of the process: a message for a connection that is gone can reach
/// no other. Threads: any.
class PostOffice {
 public:
  /// Wakes the server thread, which then calls `TakeAwaited`. Called with a lock held: it must only wake.
  using Wake = std::function<void()>;

  explicit PostOffice(Wake wake);

  /// An id that no connection ever had.
  static ConnectionId NewConnectionId();

  /// Opens the outbox of a connection. `peer`: how the log calls the client.
  void Open(ConnectionId connection, std::shared_ptr<Outbox> outbox, std::string peer) VEXORA_EXCLUDES(lock_);

  /// Hands what is sent to this connection, which has no client behind it, to `receiver` instead.
  ///
  /// `receiver` is called on the thread that sends, and must be quick.
  void OpenWithin(ConnectionId connection, std::function<void(const std::string& text)> receiver)
      VEXORA_EXCLUDES(lock_);

  /// Messages for this connection are dropped from now on.
  void Close(ConnectionId connection) VEXORA_EXCLUDES(lock_);

  /// Messages for any connection are dropped, and nobody is woken any more once this has returned.
  void CloseAll() VEXORA_EXCLUDES(lock_);

  /// Puts a message into a connection's outbox and wakes the server thread. Dropped for an unknown connection.
  void Send(ConnectionId connection, const std::string& text) VEXORA_EXCLUDES(lock_);

  /// Logs that a connection has lost a message for the first time.
  static void LogFirstDrop(ConnectionId connection, const std::string& peer);

  /// Wakes the server thread for another reason than mail. Nobody is woken after `CloseAll`.
  void WakeServer() VEXORA_EXCLUDES(lock_);

  /// The connections that have got something to send since the last call. Threads: the server thread only.
  std::set<ConnectionId> TakeAwaited() VEXORA_EXCLUDES(lock_);

  /// Makes this the post office of `GetSalSendByCon`, until `Withdraw`.
  ///
  /// Fails: false when the process has one already.
  static bool Install(const std::shared_ptr<PostOffice>& office);

  /// Nothing is installed any more. A call of the send function that is under way ends in peace: it shares the office
  /// that it found.
  static void Withdraw(const std::shared_ptr<PostOffice>& office);

 private:
  struct Box {
    std::shared_ptr<Outbox> outbox;
    std::string peer;
    std::function<void(const std::string& text)> receiver;
  };

  Box Find(ConnectionId connection) const VEXORA_EXCLUDES(lock_);
  void WakeFor(ConnectionId connection) VEXORA_EXCLUDES(lock_);

  mutable utilities::lock::Mutex lock_;
  Wake wake_ VEXORA_GUARDED_BY(lock_);
  std::map<ConnectionId, Box> boxes_ VEXORA_GUARDED_BY(lock_);
  std::set<ConnectionId> awaited_ VEXORA_GUARDED_BY(lock_);
};

}  // namespace probe
