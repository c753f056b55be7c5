#include "probe/server/websocket/outbox.h"

#include <algorithm>
#include <utility>

#include "probe/server/websocket/envelope_key.h"

using utilities::lock::lock_guard;

namespace probe {

bool OutgoingMessage::IsSupersededBy(const OutgoingMessage& newer) const {
  if (kind_ != Kind::kPush || newer.kind_ != Kind::kPush) return false;
  return !Topic().empty() && Topic() == newer.Topic() && Sids() == newer.Sids();
}

const std::string& OutgoingMessage::Topic() const {
  std::call_once(topic_read_, [this] { topic_ = TopicOf(text_); });
  return topic_;
}

const std::vector<std::string>& OutgoingMessage::Sids() const {
  std::call_once(sids_read_, [this] { sids_ = SidsOf(text_); });
  return sids_;
}

Outbox::Outbox(std::size_t max_messages, std::size_t max_bytes)
    : max_messages_(std::max<std::size_t>(max_messages, 1)), max_bytes_(max_bytes) {}

bool Outbox::Put(std::shared_ptr<const OutgoingMessage> message) {
  Messages superseded = Waiting();
  std::erase_if(superseded, [&](const auto& older) { return !older->IsSupersededBy(*message); });
  const lock_guard held(lock_);
  if (is_closed_) return false;
  const std::size_t dropped_before = dropped_;
  Insert(std::move(message), superseded);
  DropOldestOverBounds();
  return dropped_before == 0 && dropped_ > 0;
}

Outbox::Messages Outbox::Waiting() const {
  const lock_guard held(lock_);
  return waiting_;
}

void Outbox::Insert(std::shared_ptr<const OutgoingMessage> message, const Messages& superseded) {
  for (const auto& old : superseded) {
    const auto waiting = std::find(waiting_.begin(), waiting_.end(), old);
    if (waiting == waiting_.end()) continue;  // it was taken meanwhile
    CountDrop(*old);
    waiting_.erase(waiting);
  }
  bytes_ += message->text().size();
  waiting_.push_back(std::move(message));  // never in the old one's place: an answer may stand between the two
}

void Outbox::DropOldestOverBounds() {
  while (waiting_.size() > max_messages_ || (bytes_ > max_bytes_ && waiting_.size() > 1)) {
    CountDrop(*waiting_.front());
    waiting_.pop_front();
  }
}

void Outbox::CountDrop(const OutgoingMessage& message) {
  bytes_ -= message.text().size();
  ++dropped_;
}

std::shared_ptr<const OutgoingMessage> Outbox::Take() {
  const lock_guard held(lock_);
  if (waiting_.empty()) return nullptr;
  auto message = std::move(waiting_.front());
  waiting_.pop_front();
  bytes_ -= message->text().size();
  return message;
}

void Outbox::Close() {
  Messages dropped;
  const lock_guard held(lock_);
  is_closed_ = true;
  bytes_ = 0;
  waiting_.swap(dropped);
}

bool Outbox::IsEmpty() const {
  const lock_guard held(lock_);
  return waiting_.empty();
}

std::size_t Outbox::dropped() const {
  const lock_guard held(lock_);
  return dropped_;
}

}  // namespace probe
