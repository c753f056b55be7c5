#include "probe/server/websocket/push_budget.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>

#include "platform/subscriptions.h"
#include "probe/host/log.h"
#include "probe/server/websocket/envelope_key.h"

using utilities::lock::lock_guard;

namespace probe {
namespace {

// The largest messages are remembered for one to two hours of passes, whoever asked for them.
constexpr std::uint64_t kWindow = 60;

// Filters whose messages' sizes are remembered, beyond those that are in use.
constexpr std::size_t kKeptFilters = 1024;

// What part of a pass is for those who got nothing in the last one, before all others.
constexpr std::size_t kPartOfWaiting = 4;

}  // namespace

void PushBudget::Add(ConnectionId connection, std::shared_ptr<Outbox> outbox, std::string peer) {
  const lock_guard held(lock_);
  Subscriber& subscriber = subscribers_[connection];
  subscriber.outbox = std::move(outbox);
  subscriber.peer = std::move(peer);
  subscriber.allowance = limits_.pass_bytes_per_connection;
}

void PushBudget::AddHostReceiver(ConnectionId connection) {
  const lock_guard held(lock_);
  host_receivers_.insert(connection);
}

void PushBudget::RemoveHostReceiver(ConnectionId connection) {
  const lock_guard held(lock_);
  host_receivers_.erase(connection);
}

void PushBudget::File(ConnectionId connection, const std::string& topic,
                      const std::map<std::string, std::string>& filters) {
  const lock_guard held(lock_);
  const auto found = subscribers_.find(connection);
  if (found == subscribers_.end()) return;
  for (const auto& [sid, filter] : filters) {
    sizes_.Use({topic, filter});
    const auto [filed, is_first] = found->second.filters.try_emplace({topic, sid}, filter);
    if (is_first) continue;
    sizes_.Release({topic, filed->second});
    filed->second = filter;
    // What was handed to the engine before tells nothing of the new filter.
    const auto admitted = found->second.admitted.find({topic, sid});
    if (admitted != found->second.admitted.end()) admitted->second = false;
  }
  // Not in a pass alone: there may be none for long.
  if (sizes_.known_filters() > kKeptFilters + limits_.distinct_filters) sizes_.ForgetUnused();
}

void PushBudget::Remove(ConnectionId connection, const std::string& topic, const std::string& sid) {
  const lock_guard held(lock_);
  const auto found = subscribers_.find(connection);
  if (found == subscribers_.end()) return;
  const auto filed = found->second.filters.find({topic, sid});
  if (filed == found->second.filters.end()) return;
  sizes_.Release({topic, filed->second});
  found->second.filters.erase(filed);
}

void PushBudget::Forget(ConnectionId connection) {
  const lock_guard held(lock_);
  const auto found = subscribers_.find(connection);
  if (found == subscribers_.end()) return;
  for (const auto& [subscription, filter] : found->second.filters) sizes_.Release({subscription.first, filter});
  subscribers_.erase(found);
}

void PushBudget::OnSent(ConnectionId connection, const std::string& text) {
  // Without the lock: the texts are large, though only their ends are looked at.
  const Receiver receiver = ReceiverOf(connection);
  if (receiver == Receiver::kUnknown) return;
  std::string topic = TopicOf(text);
  if (topic.empty()) return;
  auto sids = receiver == Receiver::kSubscriber && HasSids(topic) ? SidsAtEnds(text) : std::vector<std::string>();
  const lock_guard held(lock_);
  // The host's own are about all devices.
  if (receiver == Receiver::kHost) return sizes_.LearnOfAllDevices(topic, text.size());
  const auto subscriber = subscribers_.find(connection);
  if (subscriber == subscribers_.end()) return;
  if (sids.empty()) sizes_.NoteWithoutSids(topic);
  for (const auto& [subscription, filter] : subscriber->second.filters) {
    const bool is_for_it = subscription.first == topic &&
                           (sids.empty() || std::find(sids.begin(), sids.end(), subscription.second) != sids.end());
    if (is_for_it) sizes_.Learn({topic, filter}, text.size());
  }
  // The engine sends one text to all whose filters and SIDs are equal, one after the other.
  BuiltText built{std::move(topic), std::move(sids), text.size()};
  if (plan_ == nullptr || built == last_built_) return;
  plan_->NoteBuilt(built.topic, built.octets);
  last_built_ = std::move(built);
}

PushBudget::Receiver PushBudget::ReceiverOf(ConnectionId connection) const {
  const lock_guard held(lock_);
  if (subscribers_.contains(connection)) return Receiver::kSubscriber;
  return host_receivers_.contains(connection) ? Receiver::kHost : Receiver::kUnknown;
}

std::size_t PushBudget::known_filters() const {
  const lock_guard held(lock_);
  return sizes_.known_filters();
}

bool PushBudget::HasSids(const std::string& topic) const {
  const lock_guard held(lock_);
  return sizes_.HasSids(topic);
}

void PushBudget::Measure(PassMessage& message) const {
  message.names_device = sizes_.NamesDevice(message.key);
  message.is_measured = sizes_.IsMeasured(message.key);
  message.octets = sizes_.SizeOf(message.key);
}

/// What a connection asks for: one message for each filter of a topic.
PushBudget::Demand PushBudget::DemandOf(ConnectionId connection, Subscriber& subscriber) {
  Demand demand{connection, &subscriber, {}, 0};
  std::map<TopicAndFilter, PassMessage> wanted;
  for (const auto& [subscription, filter] : subscriber.filters) {
    // Where a connection gets one message whatever its filters, that is one.
    const TopicAndFilter group{subscription.first, sizes_.HasSids(subscription.first) ? filter : std::string()};
    PassMessage& message = wanted[group];
    message.key = {subscription.first, filter};
    message.sids += subscription.second + '\0';
    message.subscriptions.push_back(subscription);
  }
  for (auto& [group, message] : wanted) {
    const auto former = subscriber.admitted.find(message.subscriptions.front());
    if (former != subscriber.admitted.end() && former->second) sizes_.NoteSilence(message.key);
    message.connection = connection;
    Measure(message);
    demand.octets += message.octets;
    demand.messages.push_back(std::move(message));
  }
  return demand;
}

void PushBudget::BeginPass() {
  ++pass_;
  asked_.clear();
  plan_ = std::make_unique<PassPlan>(limits_);
  last_built_ = {};
  if (pass_ % kWindow == 0) sizes_.BeginWindow();
  std::vector<Demand> demands;
  for (auto& [connection, subscriber] : subscribers_) {
    if (!subscriber.filters.empty()) demands.push_back(DemandOf(connection, subscriber));
    subscriber.admitted.clear();
    subscriber.octets = subscriber.served = 0;
    subscriber.planned = pass_;
  }
  ServeThoseWhoWaited(demands);
  const std::size_t share = limits_.pass_bytes / std::max<std::size_t>(demands.size(), 1);
  // Who asks for no more than a share comes first, then who has waited longest.
  std::sort(demands.begin(), demands.end(), [share](const Demand& left, const Demand& right) {
    const auto rank = [share](const Demand& demand) {
      const bool is_modest = demand.octets <= share;
      const std::uint64_t patience = std::numeric_limits<std::uint64_t>::max() - demand.subscriber->waited;
      return std::tuple(!is_modest, is_modest ? 0 : patience, demand.octets, demand.connection);
    };
    return rank(left) < rank(right);
  });
  for (Demand& demand : demands) Plan(demand);
  plan_->Seal();  // before the messages go to which it points
  if (sizes_.known_filters() > kKeptFilters) sizes_.ForgetUnused();
}

void PushBudget::Enter(Subscriber& subscriber, const PassMessage& message) {
  plan_->Enter(message);
  for (const auto& subscription : message.subscriptions) subscriber.admitted[subscription] = false;
  subscriber.octets += message.octets;
  ++subscriber.served;
}

/// One message for each connection that got none in the last pass, or not one whose size was unknown, before those that
/// ask for little: they could fill every pass. All of these take no more than a part of the pass; only the first may be
/// larger than that, and then counts as half of the pass, so that the others are served beside it.
void PushBudget::ServeThoseWhoWaited(std::vector<Demand>& demands) {
  std::vector<Demand*> waiting;
  for (Demand& demand : demands) {
    if (demand.subscriber->waited > 0 && !demand.subscriber->outbox->IsBlocked()) waiting.push_back(&demand);
  }
  std::sort(waiting.begin(), waiting.end(), [](const Demand* left, const Demand* right) {
    return std::tuple(right->subscriber->waited, left->octets, left->connection) <
           std::tuple(left->subscriber->waited, right->octets, right->connection);
  });
  for (Demand* const demand : waiting) {
    const PassMessage& message = demand->messages[demand->subscriber->next % demand->messages.size()];
    if (plan_->MustWaitForSize(message)) continue;
    const std::size_t built = plan_->BuiltOctets(message);
    const bool is_first = plan_->messages() == 0;
    if (!is_first && plan_->messages() >= limits_.pass_messages / kPartOfWaiting) break;
    if (!is_first && built > 0 && plan_->octets() + built > limits_.pass_bytes / kPartOfWaiting) break;
    Enter(*demand->subscriber, message);
    plan_->CapOctets(limits_.pass_bytes / 2);
  }
}

void PushBudget::Plan(Demand& demand) {
  Subscriber& subscriber = *demand.subscriber;
  const std::size_t dropped = subscriber.outbox->dropped();
  // A client that lost messages in the last pass gets fewer in this one, but those in turns; it gets more again while
  // it keeps up.
  const bool has_lost = std::exchange(subscriber.dropped, dropped) != dropped;
  subscriber.allowance = has_lost ? std::max(subscriber.allowance / 2, limits_.queue_bytes) : subscriber.allowance * 2;
  subscriber.allowance = std::min(subscriber.allowance, limits_.pass_bytes_per_connection);
  const std::size_t count = demand.messages.size();
  const bool is_blocked = subscriber.outbox->IsBlocked();
  std::size_t passed = 0;
  std::optional<std::size_t> left_out;  // the first message whose size is to be found out by others
  for (; passed < count && !is_blocked; ++passed) {
    const std::size_t number = (subscriber.next + passed) % count;
    const PassMessage& message = demand.messages[number];
    if (subscriber.admitted.contains(message.subscriptions.front())) continue;
    if (plan_->MustWaitForSize(message)) {
      if (!left_out) left_out = number;
      continue;
    }
    // One message always goes, however large.
    if (subscriber.served > 0 && subscriber.octets + message.octets > subscriber.allowance) break;
    if (!plan_->HasRoomFor(message)) break;
    Enter(subscriber, message);
  }
  subscriber.next = left_out.value_or(passed == count ? 0 : (subscriber.next + passed) % count);
  subscriber.waited = subscriber.served > 0 && !left_out ? 0 : subscriber.waited + 1;
  if (passed == count || is_blocked || std::exchange(subscriber.is_logged, true)) return;
  log::Info("[WebServer] connection %llu of %s asks for %zu messages of %zu octets a pass: they come in turns",
            static_cast<unsigned long long>(demand.connection), subscriber.peer.c_str(), count, demand.octets);
}

/// For a subscription that came after the pass had begun.
bool PushBudget::AdmitLate(Subscriber& subscriber, const TopicAndSid& subscription) {
  const auto filter = subscriber.filters.find(subscription);
  if (filter == subscriber.filters.end()) return true;  // it is being removed, or filed, at this moment
  PassMessage message;
  message.key = {subscription.first, filter->second};
  message.subscriptions = {subscription};
  Measure(message);
  if (subscriber.outbox->IsBlocked() || subscriber.octets + message.octets > subscriber.allowance) return false;
  if (plan_->MustWaitForSize(message) || !plan_->HasRoomFor(message)) return false;
  Enter(subscriber, message);
  return true;
}

bool PushBudget::IsAdmitted(ConnectionId connection, const TopicAndSid& subscription) {
  const auto found = subscribers_.find(connection);
  // Who is unknown and not the host's own has left: nothing is built for nobody.
  if (found == subscribers_.end()) return host_receivers_.contains(connection);
  if (plan_->IsOverdrawn()) return false;
  Subscriber& subscriber = found->second;
  auto admitted = subscriber.admitted.find(subscription);
  if (admitted == subscriber.admitted.end()) {
    if (subscriber.planned == pass_ || !AdmitLate(subscriber, subscription)) return false;
    admitted = subscriber.admitted.find(subscription);
  }
  if (admitted != subscriber.admitted.end()) admitted->second = true;
  return true;
}

void PushBudget::Admit(const std::string& topic, subscribes::SubscriptionList& list) {
  const lock_guard held(lock_);
  if (pass_ == 0 || asked_.contains(topic)) BeginPass();
  asked_.insert(topic);
  for (auto sid = list.begin(); sid != list.end();) {
    std::erase_if(sid->second, [&](const auto& entry) VEXORA_REQUIRES(lock_) {
      return !IsAdmitted(FromHandle(entry.first), {topic, sid->first});
    });
    sid = sid->second.empty() ? list.erase(sid) : std::next(sid);
  }
}

}  // namespace probe
