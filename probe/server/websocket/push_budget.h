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
#include "probe/server/websocket/outbox.h"

namespace probe {

/// Bounds the messages and octets that the engine builds in one pass, for a connection and in all, so that subscribers
/// cannot stretch the pass.
///
/// The engine builds a message for every subscription that it is handed, so what would be too much is not handed out.
/// How large a message will be is known from the last one with its filter. Connections that ask for little come first;
/// those that ask for more than their share take turns, and so do the subscriptions of each of them: all are served in
/// the end, only not in every pass. Who got nothing in the last pass gets one message before all others. A connection
/// whose queue is full or whose client takes nothing is left out.
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
  using TopicAndSid = std::pair<std::string, std::string>;
  using TopicAndFilter = std::pair<std::string, std::string>;

  /// Messages whose filter has not been seen yet are taken to be as large as the largest of their kind.
  struct Topic {
    bool has_sids = true;             // false: one message a connection, whatever its subscriptions
    std::size_t largest[2] = {0, 0};  // for filters that name a device, and for those that don't
    std::size_t former[2] = {0, 0};   // of the hour before
  };

  struct Filter {
    bool names_device = false;
    std::size_t octets = 0;  // of the last message; 0: there was none
    std::size_t users = 0;   // subscriptions that have it
  };

  struct Subscriber {
    std::shared_ptr<Outbox> outbox;
    std::string peer;
    std::map<TopicAndSid, std::string> filters;
    std::map<TopicAndSid, std::size_t> admitted;  // with the octets planned for its message, at the first of its SIDs
    std::size_t next = 0;                         // the message with which the next pass begins
    std::size_t allowance = 0;                    // octets a pass; less for a client that loses messages
    std::size_t dropped = 0;                      // by its queue, as of the last pass
    std::size_t octets = 0;                       // admitted in this pass
    std::size_t served = 0;                       // messages of them
    std::uint64_t waited = 0;                     // passes since it was last served
    std::uint64_t planned = 0;                    // the pass for which `admitted` holds
    bool is_logged = false;
  };

  /// One message that the engine would build.
  struct Wanted {
    TopicAndFilter key;
    std::string sids;
    std::vector<TopicAndSid> subscriptions;
    std::size_t octets = 0;
  };

  struct Demand {
    ConnectionId connection;
    Subscriber* subscriber = nullptr;
    std::vector<Wanted> messages;
    std::size_t octets = 0;
  };

  bool IsSubscriber(ConnectionId connection) const VEXORA_EXCLUDES(lock_);
  bool HasSids(const std::string& topic) const VEXORA_EXCLUDES(lock_);
  void BeginPass() VEXORA_REQUIRES(lock_);
  void ForgetUnusedFilters() VEXORA_REQUIRES(lock_);
  Demand DemandOf(ConnectionId connection, Subscriber& subscriber) VEXORA_REQUIRES(lock_);
  std::size_t SizeOf(const TopicAndFilter& key) VEXORA_REQUIRES(lock_);
  void Release(const TopicAndFilter& key) VEXORA_REQUIRES(lock_);

  /// Octets that the engine builds for a message: none for one that it shares with the connection before.
  std::size_t BuiltOctets(const Wanted& message) const VEXORA_REQUIRES(lock_);
  void Enter(Subscriber& subscriber, const Wanted& message) VEXORA_REQUIRES(lock_);
  void ServeThoseWhoWaited(std::vector<Demand>& demands) VEXORA_REQUIRES(lock_);
  void Plan(Demand& demand) VEXORA_REQUIRES(lock_);
  bool AdmitLate(Subscriber& subscriber, const TopicAndSid& subscription) VEXORA_REQUIRES(lock_);
  bool IsOverdrawn() const VEXORA_REQUIRES(lock_);
  bool IsAdmitted(ConnectionId connection, const TopicAndSid& subscription) VEXORA_REQUIRES(lock_);

  const ServerLimits limits_;
  mutable utilities::lock::Mutex lock_;  // before the outboxes' locks
  std::map<ConnectionId, Subscriber> subscribers_ VEXORA_GUARDED_BY(lock_);
  std::set<ConnectionId> host_receivers_ VEXORA_GUARDED_BY(lock_);
  std::map<TopicAndFilter, Filter> filters_ VEXORA_GUARDED_BY(lock_);
  std::map<std::string, Topic> topics_ VEXORA_GUARDED_BY(lock_);
  std::uint64_t pass_ VEXORA_GUARDED_BY(lock_) = 0;
  std::set<std::string> asked_ VEXORA_GUARDED_BY(lock_);  // topics, in this pass
  std::size_t octets_ VEXORA_GUARDED_BY(lock_) = 0;       // of this pass, what is shared counted once
  std::size_t excess_ VEXORA_GUARDED_BY(lock_) = 0;       // of these, what was sent beyond what was planned
  std::pair<std::string, std::vector<std::string>> last_sent_ VEXORA_GUARDED_BY(lock_);  // topic and SIDs, in this pass
  std::size_t messages_ VEXORA_GUARDED_BY(lock_) = 0;
  std::map<TopicAndFilter, std::string> last_sids_ VEXORA_GUARDED_BY(lock_);  // of the connection admitted last
};

}  // namespace probe
