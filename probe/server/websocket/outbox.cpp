#include "probe/server/websocket/outbox.h"

#include <algorithm>
#include <cstdint>
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
  std::call_once(sids_read_, [this] {
    // Most envelopes have them at an end, and a large one takes the engine long to read.
    sids_ = SidsAtEnds(text_);
    std::sort(sids_.begin(), sids_.end());
    if (sids_.empty()) sids_ = SidsOf(text_);
  });
  return sids_;
}

void QueueTotal::Grow(std::size_t octets) {
  const std::size_t now = octets_ += octets;
  std::size_t peak = peak_.load();
  while (now > peak && !peak_.compare_exchange_weak(peak, now)) continue;
}

void QueueTotal::Enter(Outbox& outbox) {
  const lock_guard held(lock_);
  outboxes_.insert(&outbox);
}

void QueueTotal::Leave(Outbox& outbox) {
  const lock_guard held(lock_);
  outboxes_.erase(&outbox);
}

std::size_t QueueTotal::Bound() const {
  double given_up = 0;
  for (const Outbox* const each : outboxes_) {
    if (each->IsGivenUp()) given_up += each->HeldShare().octets;
  }
  // Twice the bound at most, should they not go.
  return max_bytes_ + std::min(static_cast<std::size_t>(given_up), max_bytes_);
}

void QueueTotal::GiveUpHolders() {
  const auto now = Clock::now();
  std::vector<std::pair<Outbox::Held, Outbox*>> holders;
  double held = 0;
  for (Outbox* const each : outboxes_) {
    if (each->IsGivenUp()) continue;
    const Outbox::Held of_it = each->HeldShare();
    held += of_it.octets;
    if (of_it.octets > 0 && now - of_it.since >= hold_time_) holders.emplace_back(of_it, each);
  }
  std::sort(holders.begin(), holders.end(), [](const auto& left, const auto& right) {
    return std::pair(right.first.octets, left.first.since) < std::pair(left.first.octets, right.first.since);
  });
  const auto most = static_cast<double>(max_bytes_) / 2;
  for (const auto& [of_it, outbox] : holders) {
    if (held <= most) break;
    outbox->is_given_up_.store(true);
    held -= of_it.octets;
  }
}

Outbox* QueueTotal::Fullest(const OutgoingMessage* besides) const {
  Outbox* fullest = nullptr;
  double most = 0;
  for (Outbox* const each : outboxes_) {
    // Its part is no more than all of it, which is cheaper to know.
    if (static_cast<double>(each->WaitingBytes(besides)) <= most) continue;
    const double share = each->WaitingShare(besides);
    if (share <= most) continue;
    most = share;
    fullest = each;
  }
  return fullest;
}

void QueueTotal::Trim(Outbox& outbox, const OutgoingMessage* newest) {
  if (octets() <= max_bytes_) return;
  const lock_guard held(lock_);
  std::size_t bound = Bound();
  if (octets() > bound) {
    GiveUpHolders();
    bound = Bound();
  }
  while (octets() > bound) {
    Outbox* const fullest = Fullest(newest);
    if (fullest == nullptr) break;
    if (!fullest->DropOldest(newest)) break;  // it was taken meanwhile
  }
  // A client waits for each answer, and they are small.
  if (newest->kind() == OutgoingMessage::Kind::kPush && octets() >= bound + newest->text().size())
    outbox.DropOldest(nullptr);
}

Outbox::Outbox(std::size_t max_messages, std::size_t max_bytes, std::shared_ptr<QueueTotal> total)
    : max_messages_(std::max<std::size_t>(max_messages, 1)), max_bytes_(max_bytes), total_(std::move(total)) {
  if (total_ != nullptr) total_->Enter(*this);
}

Outbox::~Outbox() {
  if (total_ != nullptr) total_->Leave(*this);
}

bool Outbox::Put(std::shared_ptr<const OutgoingMessage> message) {
  Messages superseded = Waiting();
  std::erase_if(superseded, [&](const auto& older) { return !older->IsSupersededBy(*message); });
  {
    const lock_guard held(lock_);
    if (is_closed_) {
      Count(&MessageCounts::disconnected);
      return false;
    }
    Insert(message, superseded);
    DropOldestOverBounds();
  }
  superseded.clear();  // their octets are not to count any more
  // Without the lock: it looks at all outboxes.
  if (total_ != nullptr) total_->Trim(*this, message.get());
  return NoteFirstDrop();
}

bool Outbox::NoteFirstDrop() {
  const lock_guard held(lock_);
  // Not by comparing the count: others' messages may have cost this outbox one between two of its own.
  return dropped_ > 0 && !std::exchange(is_drop_told_, true);
}

Outbox::Messages Outbox::Waiting() const {
  const lock_guard held(lock_);
  return waiting_;
}

void Outbox::Insert(std::shared_ptr<const OutgoingMessage> message, const Messages& superseded) {
  for (const auto& old : superseded) {
    const auto waiting = std::find(waiting_.begin(), waiting_.end(), old);
    if (waiting == waiting_.end()) continue;  // it was taken meanwhile
    CountDrop(*old, &MessageCounts::superseded);
    waiting_.erase(waiting);
  }
  bytes_ += message->text().size();
  waiting_.push_back(std::move(message));  // never in the old one's place: an answer may stand between the two
}

std::size_t Outbox::RoomInBytes() const {
  return max_bytes_ - std::min(being_written_, max_bytes_ / 2);
}

void Outbox::DropOldestOverBounds() {
  while (waiting_.size() > max_messages_ || (bytes_ > RoomInBytes() && waiting_.size() > 1)) {
    CountDrop(*waiting_.front(), &MessageCounts::queue_full);
    waiting_.pop_front();
  }
}

std::size_t Outbox::WaitingBytes(const OutgoingMessage* besides) const {
  const lock_guard held(lock_);
  // What is put in last stands last.
  const bool is_here = !waiting_.empty() && waiting_.back().get() == besides;
  return bytes_ - (is_here ? besides->text().size() : 0);
}

double Outbox::WaitingShare(const OutgoingMessage* besides) const {
  const lock_guard held(lock_);
  double share = 0;
  for (const auto& message : waiting_) {
    if (message.get() == besides) continue;
    share += static_cast<double>(message->text().size()) / static_cast<double>(message.use_count());
  }
  return share;
}

Outbox::Held Outbox::HeldShare() const {
  const lock_guard held(lock_);
  const auto sharers = std::max<std::int64_t>(held_.use_count(), 1);
  return {static_cast<double>(held_.expired() ? 0 : being_written_) / static_cast<double>(sharers), held_since_};
}

bool Outbox::DropOldest(const OutgoingMessage* besides) {
  const lock_guard held(lock_);
  if (waiting_.empty() || waiting_.front().get() == besides) return false;
  CountDrop(*waiting_.front(), &MessageCounts::queues_full);
  waiting_.pop_front();
  return true;
}

bool Outbox::IsBlocked() const {
  if (is_stuck_.load()) return true;
  const lock_guard held(lock_);
  return waiting_.size() >= max_messages_ || bytes_ >= RoomInBytes();
}

void Outbox::CountDrop(const OutgoingMessage& message, MessageCounts::Count MessageCounts::*reason) {
  bytes_ -= message.text().size();
  ++dropped_;
  Count(reason);
}

void Outbox::Count(MessageCounts::Count MessageCounts::*what, std::size_t messages) {
  if (total_ != nullptr) (total_->counts().*what) += messages;
}

std::shared_ptr<const OutgoingMessage> Outbox::Take() {
  const lock_guard held(lock_);
  if (being_written_ > 0) Count(&MessageCounts::sent);
  being_written_ = 0;
  is_given_up_.store(false);  // what it was given up for has been taken
  if (waiting_.empty()) return nullptr;
  auto message = std::move(waiting_.front());
  waiting_.pop_front();
  being_written_ = message->text().size();
  held_ = message;
  held_since_ = QueueTotal::Clock::now();
  bytes_ -= being_written_;
  return message;
}

void Outbox::Close() {
  Messages dropped;
  const lock_guard held(lock_);
  const bool is_cut = !std::exchange(is_closed_, true) && being_written_ > 0;
  bytes_ = 0;
  waiting_.swap(dropped);
  Count(&MessageCounts::disconnected, dropped.size() + (is_cut ? 1 : 0));
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
