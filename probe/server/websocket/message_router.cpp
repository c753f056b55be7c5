#include "probe/server/websocket/message_router.h"

#include <atomic>
#include <cstdint>
#include <utility>

#include "probe/host/log.h"
#include "probe/host/sending.h"

using utilities::lock::lock_guard;

namespace probe {
namespace {

/// The router that the send function finds, shared with every call that is under way.
struct Installed {
  utilities::lock::Mutex lock;
  std::shared_ptr<MessageRouter> router VEXORA_GUARDED_BY(lock);
};

Installed& TheInstalled() {
  static Installed installed;
  return installed;
}

std::shared_ptr<MessageRouter> InstalledRouter() {
  Installed& installed = TheInstalled();
  const lock_guard held(installed.lock);
  return installed.router;
}

/// The send function of the contract. It takes the text over and returns; nothing is thrown across the boundary.
void SendThroughRouter(lws* connection, const std::string& text) try {
  if (const auto router = InstalledRouter()) router->Send(FromHandle(connection), text);
} catch (const std::exception& failure) {
  log::Error("[WebServer] a message is lost: %s", failure.what());
}

}  // namespace

MessageRouter::MessageRouter(Wake wake, std::shared_ptr<QueueTotal> total, Observer observer)
    : total_(std::move(total)), observer_(std::move(observer)), wake_(std::move(wake)) {}

ConnectionId MessageRouter::NewId() {
  static std::atomic<std::uintptr_t> last{static_cast<std::uintptr_t>(kNoConnection)};
  return ConnectionId{++last};
}

void MessageRouter::Add(ConnectionId connection, std::shared_ptr<Outbox> outbox, std::string peer) {
  const lock_guard held(lock_);
  routes_[connection] = Route{std::move(outbox), std::move(peer), {}};
}

ConnectionId MessageRouter::AddLocalReceiver(std::function<void(const std::string& text)> receiver) {
  const ConnectionId connection = NewId();
  const lock_guard held(lock_);
  routes_[connection] = Route{nullptr, {}, std::move(receiver)};
  return connection;
}

void MessageRouter::Remove(ConnectionId connection) {
  const lock_guard held(lock_);
  routes_.erase(connection);
  pending_.erase(connection);
}

void MessageRouter::RemoveAll() {
  const lock_guard held(lock_);
  routes_.clear();
  pending_.clear();
  wake_ = nullptr;
}

MessageRouter::Route MessageRouter::Find(ConnectionId connection) const {
  const lock_guard held(lock_);
  const auto found = routes_.find(connection);
  return found == routes_.end() ? Route{} : found->second;
}

void MessageRouter::Send(ConnectionId connection, const std::string& text) {
  if (text.empty()) return;  // what `compose_communication_struct` gives when the heap is exhausted
  const Route route = Find(connection);
  if (route.receiver == nullptr && route.outbox == nullptr) {
    if (total_ != nullptr) ++total_->counts().disconnected;
    return;
  }
  if (observer_) observer_(connection, text);
  if (route.receiver) return route.receiver(text);
  if (route.outbox->Put(MessageOf(text))) LogFirstDrop(connection, route.peer);
  WakeFor(connection);
}

std::shared_ptr<const OutgoingMessage> MessageRouter::MessageOf(const std::string& text) {
  std::shared_ptr<const OutgoingMessage> message;
  {
    const lock_guard held(lock_);
    message = last_.lock();
  }
  // The engine sends one text to all whose filters and SIDs are equal, one after the other: they share it.
  if (message != nullptr && message->text() == text) return message;
  message = std::make_shared<const OutgoingMessage>(text, OutgoingMessage::Kind::kPush, total_);
  const lock_guard held(lock_);
  last_ = message;
  return message;
}

void MessageRouter::LogFirstDrop(ConnectionId connection, const std::string& peer) {
  log::Info("[WebServer] connection %llu of %s is slow: its unsent messages are dropped for newer ones",
            static_cast<unsigned long long>(connection), peer.c_str());
}

void MessageRouter::WakeFor(ConnectionId connection) {
  const lock_guard held(lock_);
  if (!wake_) return;
  // Who is pending already was woken for, and has not called yet. Waking comes first: were it to fail with somebody
  // pending, nobody would be woken again.
  if (pending_.empty()) wake_();
  pending_.insert(connection);
}

std::set<ConnectionId> MessageRouter::TakePending() {
  const lock_guard held(lock_);
  return std::exchange(pending_, {});
}

bool MessageRouter::Install(const std::shared_ptr<MessageRouter>& router) {
  Installed& installed = TheInstalled();
  const lock_guard held(installed.lock);
  if (installed.router != nullptr) return false;
  installed.router = router;
  InstallSendFunction(&SendThroughRouter);
  return true;
}

void MessageRouter::Withdraw(const std::shared_ptr<MessageRouter>& router) {
  Installed& installed = TheInstalled();
  const lock_guard held(installed.lock);
  if (installed.router != router) return;
  InstallSendFunction(nullptr);
  installed.router = nullptr;
}

}  // namespace probe
