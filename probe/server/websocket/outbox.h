#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/server/server_counts.h"

namespace probe {

class Outbox;
class OutgoingMessage;

/// The octets of all messages that wait for clients or are being written to them; what several share counts once.
/// Beyond its bound the fullest outbox loses its oldest message, then the next fullest; of what outboxes share each has
/// its part. What is being written cannot be taken back: when that is most of it, the client that holds most of it for
/// longer than a fast one needs is given up, in place of others' messages.
///
/// Threads: any.
class QueueTotal {
 public:
  using Clock = std::chrono::steady_clock;

  /// How long a message may be under way before its client is given up for it.
  static constexpr std::chrono::seconds kHoldTime{2};

  explicit QueueTotal(std::size_t max_bytes, Clock::duration hold_time = kHoldTime)
      : max_bytes_(max_bytes), hold_time_(hold_time) {}

  std::size_t octets() const { return octets_.load(); }

  /// What became of the messages of all outboxes.
  const MessageCounts& counts() const { return counts_; }
  MessageCounts& counts() { return counts_; }

  /// The most that there was since the last call.
  std::size_t TakePeak() { return peak_.exchange(octets()); }

 private:
  friend class Outbox;
  friend class OutgoingMessage;

  void Grow(std::size_t octets);
  void Shrink(std::size_t octets) { octets_ -= octets; }
  void Enter(Outbox& outbox) VEXORA_EXCLUDES(lock_);
  void Leave(Outbox& outbox) VEXORA_EXCLUDES(lock_);

  /// Keeps to the bound after a message was put into an outbox. That message goes last, and only when the others alone
  /// take as much as is allowed: so the largest of messages gets through when there is nothing else. An answer stays.
  void Trim(Outbox& outbox, const OutgoingMessage* newest) VEXORA_EXCLUDES(lock_);
  Outbox* Fullest(const OutgoingMessage* besides) const VEXORA_REQUIRES(lock_);
  void GiveUpHolders() VEXORA_REQUIRES(lock_);
  /// The bound, without what those hold that are given up and will be gone in a moment.
  std::size_t Bound() const VEXORA_REQUIRES(lock_);

  const std::size_t max_bytes_;
  const Clock::duration hold_time_;
  std::atomic<std::size_t> octets_{0};
  std::atomic<std::size_t> peak_{0};
  MessageCounts counts_;
  utilities::lock::Mutex lock_;  // before the outboxes' locks
  std::set<Outbox*> outboxes_ VEXORA_GUARDED_BY(lock_);
};

/// One message on its way to a client. Its text never changes, so that one thread may write it to a socket while
/// another looks into it.
class OutgoingMessage {
 public:
  enum class Kind {
    kPush,  ///< An envelope: a newer one of the same topic and SIDs makes it worthless.
    kReply  ///< An answer to the client.
  };

  /// `total`: where its octets count; null: nowhere.
  OutgoingMessage(std::string text, Kind kind, std::shared_ptr<QueueTotal> total = nullptr)
      : text_(std::move(text)), kind_(kind), total_(std::move(total)) {
    if (total_ != nullptr) total_->Grow(text_.size());
  }
  ~OutgoingMessage() {
    if (total_ != nullptr) total_->Shrink(text_.size());
  }
  OutgoingMessage(const OutgoingMessage&) = delete;
  OutgoingMessage& operator=(const OutgoingMessage&) = delete;

  const std::string& text() const { return text_; }
  Kind kind() const { return kind_; }

  /// Whether `newer` tells its readers all that this one would. Reads both messages for it, once each. Threads: any.
  bool IsSupersededBy(const OutgoingMessage& newer) const;

 private:
  const std::string& Topic() const;
  const std::vector<std::string>& Sids() const;

  const std::string text_;
  const Kind kind_;
  const std::shared_ptr<QueueTotal> total_;
  mutable std::once_flag topic_read_;
  mutable std::string topic_;
  mutable std::once_flag sids_read_;
  mutable std::vector<std::string> sids_;
};

/// The unsent messages of one client. It stays small however slow the client: the unsent older message that a newer one
/// supersedes is dropped, and when that is not enough, the oldest goes. What stays keeps the order in which it came.
///
/// A client that keeps up never has anything waiting when the next message comes, and then no message is looked into.
/// The message that is being written has been taken out. Its octets count as well, but for no more than half of the
/// bound: while a large one is under way there is room for small ones.
/// Threads: any. Large messages are read with no lock held.
class Outbox {
 public:
  /// At most `max_messages` messages and `max_bytes` octets wait; but one message always may, however large.
  /// `total`: that of all outboxes; null: there is no bound on that.
  Outbox(std::size_t max_messages, std::size_t max_bytes, std::shared_ptr<QueueTotal> total = nullptr);
  ~Outbox();
  Outbox(const Outbox&) = delete;
  Outbox& operator=(const Outbox&) = delete;

  /// Puts a message in, which others may share. True once: the first time after an unsent message had to go, for this
  /// one or for another outbox's.
  bool Put(std::shared_ptr<const OutgoingMessage> message) VEXORA_EXCLUDES(lock_);
  bool Put(std::string text, OutgoingMessage::Kind kind) VEXORA_EXCLUDES(lock_) {
    return Put(std::make_shared<const OutgoingMessage>(std::move(text), kind, total_));
  }

  /// Takes the next message out, to be written; null when there is none. The one before has been written.
  std::shared_ptr<const OutgoingMessage> Take() VEXORA_EXCLUDES(lock_);

  /// Whether the client takes nothing at present.
  void SetStuck(bool is_stuck) { is_stuck_.store(is_stuck); }

  /// Whether another message would only push one out, or wait for a client that takes nothing.
  bool IsBlocked() const VEXORA_EXCLUDES(lock_);

  /// Whether the client is to be closed, for what is being written to it takes the room of others.
  bool IsGivenUp() const { return is_given_up_.load(); }

  /// Drops all messages, and all that are put in later.
  void Close() VEXORA_EXCLUDES(lock_);

  bool IsEmpty() const VEXORA_EXCLUDES(lock_);

  /// Messages that went unsent for a newer one.
  std::size_t dropped() const VEXORA_EXCLUDES(lock_);

 private:
  friend class QueueTotal;
  using Messages = std::deque<std::shared_ptr<const OutgoingMessage>>;

  bool NoteFirstDrop() VEXORA_EXCLUDES(lock_);
  Messages Waiting() const VEXORA_EXCLUDES(lock_);
  void Insert(std::shared_ptr<const OutgoingMessage> message, const Messages& superseded) VEXORA_REQUIRES(lock_);
  std::size_t RoomInBytes() const VEXORA_REQUIRES(lock_);
  void DropOldestOverBounds() VEXORA_REQUIRES(lock_);
  std::size_t WaitingBytes(const OutgoingMessage* besides) const VEXORA_EXCLUDES(lock_);
  /// The same, of each message that others have as well its part only.
  double WaitingShare(const OutgoingMessage* besides) const VEXORA_EXCLUDES(lock_);

  /// What is being written, likewise, and since when.
  struct Held {
    double octets = 0;
    QueueTotal::Clock::time_point since;
  };
  Held HeldShare() const VEXORA_EXCLUDES(lock_);
  /// False when there is nothing to drop.
  bool DropOldest(const OutgoingMessage* besides) VEXORA_EXCLUDES(lock_);
  void CountDrop(const OutgoingMessage& message, MessageCounts::Count MessageCounts::*reason) VEXORA_REQUIRES(lock_);
  void Count(MessageCounts::Count MessageCounts::*what, std::size_t messages = 1);

  const std::size_t max_messages_;
  const std::size_t max_bytes_;
  const std::shared_ptr<QueueTotal> total_;
  std::atomic<bool> is_stuck_{false};
  std::atomic<bool> is_given_up_{false};

  mutable utilities::lock::Mutex lock_;
  Messages waiting_ VEXORA_GUARDED_BY(lock_);  // oldest first
  std::size_t bytes_ VEXORA_GUARDED_BY(lock_) = 0;
  std::size_t being_written_ VEXORA_GUARDED_BY(lock_) = 0;              // octets
  std::weak_ptr<const OutgoingMessage> held_ VEXORA_GUARDED_BY(lock_);  // that is being written
  QueueTotal::Clock::time_point held_since_ VEXORA_GUARDED_BY(lock_);
  std::size_t dropped_ VEXORA_GUARDED_BY(lock_) = 0;
  bool is_drop_told_ VEXORA_GUARDED_BY(lock_) = false;
  bool is_closed_ VEXORA_GUARDED_BY(lock_) = false;
};

}  // namespace probe
