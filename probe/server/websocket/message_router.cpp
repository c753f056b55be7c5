#include "probe/server/websocket/message_router.h"

#include <atomic>
#include <cstdint>
#include <utility>

#include "probe/host/log.h"
#include "probe/host/sending.h"

using utilities::lock::lock_guard;

namespace probe {
namespace {

/// The post office that the send function finds, shared with every call that is under way.
struct Counter {
  utilities::lock::Mutex lock;
  std::shared_ptr<PostOffice> office VEXORA_GUARDED_BY(lock);
};

Counter& TheCounter() {
  static Counter counter;
  return counter;
}

std::shared_ptr<PostOffice> InstalledOffice() {
  Counter& counter = TheCounter();
  const lock_guard held(counter.lock);
  return counter.office;
}

/// The send function of the contract. It takes the text over and returns; nothing is thrown across the boundary.
void SendThroughOffice(lws* handle, const std::string& text) try {
  if (const auto office = InstalledOffice()) office->Send(FromHandle(handle), text);
} catch (const std::exception& failure) {
  log::Error("[WebServer] a message is lost: %s", failure.what());
}

}  // namespace

PostOffice::PostOffice(Wake wake) : wake_(std::move(wake)) {}

ConnectionId PostOffice::NewConnectionId() {
  static std::atomic<std::uintptr_t> last{0};
  return ConnectionId{++last};
}

void PostOffice::Open(ConnectionId connection, std::shared_ptr<Outbox> outbox, std::string peer) {
  const lock_guard held(lock_);
  boxes_[connection] = Box{std::move(outbox), std::move(peer), {}};
}

void PostOffice::OpenWithin(ConnectionId connection, std::function<void(const std::string& text)> receiver) {
  const lock_guard held(lock_);
  boxes_[connection] = Box{nullptr, {}, std::move(receiver)};
}

void PostOffice::Close(ConnectionId connection) {
  const lock_guard held(lock_);
  boxes_.erase(connection);
  awaited_.erase(connection);
}

void PostOffice::CloseAll() {
  const lock_guard held(lock_);
  boxes_.clear();
  awaited_.clear();
  wake_ = nullptr;
}

PostOffice::Box PostOffice::Find(ConnectionId connection) const {
  const lock_guard held(lock_);
  const auto found = boxes_.find(connection);
  return found == boxes_.end() ? Box{} : found->second;
}

void PostOffice::Send(ConnectionId connection, const std::string& text) {
  if (text.empty()) return;  // what `compose_communication_struct` gives when the heap is exhausted
  const Box box = Find(connection);
  if (box.receiver) return box.receiver(text);
  if (box.outbox == nullptr) return;
  if (box.outbox->Put(text, OutgoingMessage::Kind::kPush)) LogFirstDrop(connection, box.peer);
  WakeFor(connection);
}

void PostOffice::LogFirstDrop(ConnectionId connection, const std::string& peer) {
  log::Info("[WebServer] connection %llu of %s is slow: its unsent messages are dropped for newer ones",
            static_cast<unsigned long long>(connection), peer.c_str());
}

void PostOffice::WakeFor(ConnectionId connection) {
  const lock_guard held(lock_);
  if (!wake_) return;
  const bool is_awake = !awaited_.empty();  // woken already, and not yet here
  awaited_.insert(connection);
  if (!is_awake) wake_();
}

void PostOffice::WakeServer() {
  const lock_guard held(lock_);
  if (wake_) wake_();
}

std::set<ConnectionId> PostOffice::TakeAwaited() {
  const lock_guard held(lock_);
  return std::exchange(awaited_, {});
}

bool PostOffice::Install(const std::shared_ptr<PostOffice>& office) {
  Counter& counter = TheCounter();
  const lock_guard held(counter.lock);
  if (counter.office != nullptr) return false;
  counter.office = office;
  InstallSendFunction(&SendThroughOffice);
  return true;
}

void PostOffice::Withdraw(const std::shared_ptr<PostOffice>& office) {
  Counter& counter = TheCounter();
  const lock_guard held(counter.lock);
  if (counter.office != office) return;
  InstallSendFunction(nullptr);
  counter.office = nullptr;
}

}  // namespace probe
