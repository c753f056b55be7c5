#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/subscriptions.h"
#include "platform/utilities/locks.h"
#include "probe/host/connection_id.h"
#include "probe/host/push_gate.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/websocket/message_sizes.h"
#include "probe/server/websocket/outbox.h"
#include "probe/server/websocket/pass_plan.h"

namespace probe {

/// Bounds the messages and octets that the engine builds in one pass, for a connection and in all, so that subscribers
/// cannot stretch the pass.
///
/// The engine builds a message for every subscription that it is handed, so what would be too much is not handed out.
/// How large a message will be is known from the last one with its filter, or from others of its topic; as long as it
/// is not, one message is made to find out. Connections that ask for little come first; those that ask for more than
/// their share take turns, and so do the subscriptions of each of them: all are served in the end, only not in every
/// pass. Who got nothing in the last pass gets one message before all others. A connection whose queue is full or whose
/// client takes nothing is left out.
///
/// What was sent counts as what it was: when that is far more than was planned, later topics of the pass go without.
///
/// The host's own subscriptions are always served.
/// Threads: any.
class PushBudget final : public PushGate {
 public:
  explicit PushBudget(const ServerLimits& limits) : limits_(limits) {}

  /// A connection that may subscribe. `peer`: how the log calls the client.
  void Add(ConnectionId connection, std::shared_ptr<Outbox> outbox, std::string peer) VEXORA_EXCLUDES(lock_);

  /// A connection of the host's own, all of whose subscriptions are served.
  void AddHostReceiver(ConnectionId connection) VEXORA_EXCLUDES(lock_);

  /// The connection is nobody's from now on.
  void RemoveHostReceiver(ConnectionId connection) VEXORA_EXCLUDES(lock_);

  /// Enters subscriptions: SID -> filter, JSON text.
  void File(ConnectionId connection, const std::string& topic, const std::map<std::string, std::string>& filters)
      VEXORA_EXCLUDES(lock_);

  void Remove(ConnectionId connection, const std::string& topic, const std::string& sid) VEXORA_EXCLUDES(lock_);
  void Forget(ConnectionId connection) VEXORA_EXCLUDES(lock_);

  /// Learns from a message how large those of its filter are.
  void OnSent(ConnectionId connection, const std::string& text) VEXORA_EXCLUDES(lock_);

  void Admit(const std::string& topic, subscribes::SubscriptionList& list) override VEXORA_EXCLUDES(lock_);

  /// Filters that are remembered, in use or not.
  std::size_t known_filters() const VEXORA_EXCLUDES(lock_);

 private:
  struct Subscriber {
    std::shared_ptr<Outbox> outbox;
    std::string peer;
    std::map<TopicAndSid, std::string> filters;
    std::map<TopicAndSid, bool> admitted;  // true: it was handed to the engine
    std::size_t next = 0;                  // the message with which the next pass begins
    std::size_t allowance = 0;             // octets a pass; less for a client that loses messages
    std::size_t dropped = 0;               // by its queue, as of the last pass
    std::size_t octets = 0;                // admitted in this pass
    std::size_t served = 0;                // messages of them
    std::uint64_t waited = 0;              // passes since it was last served, or a message was left out for its size
    std::uint64_t planned = 0;             // the pass for which `admitted` holds
    bool is_logged = false;
  };

  struct Demand {
    ConnectionId connection;
    Subscriber* subscriber = nullptr;
    std::vector<PassMessage> messages;
    std::size_t octets = 0;
  };

  /// A text that the engine has built, as far as it is told from the one before.
  struct BuiltText {
    std::string topic;
    std::vector<std::string> sids;
    std::size_t octets = 0;

    bool operator==(const BuiltText&) const = default;
  };

  enum class Receiver { kUnknown, kHost, kSubscriber };

  Receiver ReceiverOf(ConnectionId connection) const VEXORA_EXCLUDES(lock_);
  bool HasSids(const std::string& topic) const VEXORA_EXCLUDES(lock_);
  void BeginPass() VEXORA_REQUIRES(lock_);
  void Measure(PassMessage& message) const VEXORA_REQUIRES(lock_);
  Demand DemandOf(ConnectionId connection, Subscriber& subscriber) VEXORA_REQUIRES(lock_);
  void Enter(Subscriber& subscriber, const PassMessage& message) VEXORA_REQUIRES(lock_);
  void ServeThoseWhoWaited(std::vector<Demand>& demands) VEXORA_REQUIRES(lock_);
  void Plan(Demand& demand) VEXORA_REQUIRES(lock_);
  bool AdmitLate(Subscriber& subscriber, const TopicAndSid& subscription) VEXORA_REQUIRES(lock_);
  bool IsAdmitted(ConnectionId connection, const TopicAndSid& subscription) VEXORA_REQUIRES(lock_);

  const ServerLimits limits_;
  mutable utilities::lock::Mutex lock_;  // before the outboxes' locks
  std::map<ConnectionId, Subscriber> subscribers_ VEXORA_GUARDED_BY(lock_);
  std::set<ConnectionId> host_receivers_ VEXORA_GUARDED_BY(lock_);
  MessageSizes sizes_ VEXORA_GUARDED_BY(lock_);
  std::uint64_t pass_ VEXORA_GUARDED_BY(lock_) = 0;
  std::set<std::string> asked_ VEXORA_GUARDED_BY(lock_);     // topics, in this pass
  std::unique_ptr<PassPlan> plan_ VEXORA_GUARDED_BY(lock_);  // of this pass; null: there was none
  BuiltText last_built_ VEXORA_GUARDED_BY(lock_);            // in this pass
};

}  // namespace probe
