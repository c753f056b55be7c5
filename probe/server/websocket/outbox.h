#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"

namespace probe {

/// One message on its way to a client. Its text never changes, so that one thread may write it to a socket while
/// another looks into it.
class OutgoingMessage {
 public:
  enum class Kind {
    kPush,  ///< An envelope: a newer one of the same topic and SIDs makes it worthless.
    kReply  ///< An answer to the client.
  };

  OutgoingMessage(std::string text, Kind kind) : text_(std::move(text)), kind_(kind) {}

  const std::string& text() const { return text_; }

  /// Whether `newer` tells its readers all that this one would. Reads both messages for it, once each. Threads: any.
  bool IsSupersededBy(const OutgoingMessage& newer) const;

 private:
  const std::string& Topic() const;
  const std::vector<std::string>& Sids() const;

  const std::string text_;
  const Kind kind_;
  mutable std::once_flag topic_read_;
  mutable std::string topic_;
  mutable std::once_flag sids_read_;
  mutable std::vector<std::string> sids_;
};

/// The unsent messages of one client. It stays small however slow the client: the unsent older message that a newer one
/// supersedes is dropped, and when that is not enough, the oldest goes. What stays keeps the order in which it came.
///
/// A client that keeps up never has anything waiting when the next message comes, and then no message is looked into.
/// The message that is being written has been taken out and does not count.
/// Threads: any. Large messages are read with no lock held.
class Outbox {
 public:
  /// At most `max_messages` messages and `max_bytes` octets wait; but one message always may, however large.
  Outbox(std::size_t max_messages, std::size_t max_bytes);

  /// Puts a message in, which others may share. True when, for the first time, an unsent message had to go for it.
  bool Put(std::shared_ptr<const OutgoingMessage> message) VEXORA_EXCLUDES(lock_);
  bool Put(std::string text, OutgoingMessage::Kind kind) VEXORA_EXCLUDES(lock_) {
    return Put(std::make_shared<const OutgoingMessage>(std::move(text), kind));
  }

  /// Takes the next message out; null when there is none.
  std::shared_ptr<const OutgoingMessage> Take() VEXORA_EXCLUDES(lock_);

  /// Drops all messages, and all that are put in later.
  void Close() VEXORA_EXCLUDES(lock_);

  bool IsEmpty() const VEXORA_EXCLUDES(lock_);

  /// Messages that went unsent for a newer one.
  std::size_t dropped() const VEXORA_EXCLUDES(lock_);

 private:
  using Messages = std::deque<std::shared_ptr<const OutgoingMessage>>;

  Messages Waiting() const VEXORA_EXCLUDES(lock_);
  void Insert(std::shared_ptr<const OutgoingMessage> message, const Messages& superseded) VEXORA_REQUIRES(lock_);
  void DropOldestOverBounds() VEXORA_REQUIRES(lock_);
  void CountDrop(const OutgoingMessage& message) VEXORA_REQUIRES(lock_);

  const std::size_t max_messages_;
  const std::size_t max_bytes_;

  mutable utilities::lock::Mutex lock_;
  Messages waiting_ VEXORA_GUARDED_BY(lock_);  // oldest first
  std::size_t bytes_ VEXORA_GUARDED_BY(lock_) = 0;
  std::size_t dropped_ VEXORA_GUARDED_BY(lock_) = 0;
  bool is_closed_ VEXORA_GUARDED_BY(lock_) = false;
};

}  // namespace probe
