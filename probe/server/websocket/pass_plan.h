#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "probe/host/connection_id.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/websocket/message_sizes.h"

namespace probe {

using TopicAndSid = std::pair<std::string, std::string>;

/// One message that the engine would build for a connection.
struct PassMessage {
  ConnectionId connection{};
  TopicAndFilter key;
  std::string sids;                        // all that it is for
  std::vector<TopicAndSid> subscriptions;  // likewise; at least one
  bool names_device = false;
  bool is_measured = false;  // there was one before with this filter
  std::size_t octets = 0;    // 0: not known
};

/// The messages that are to be built in one pass, and whether one more fits.
///
/// The engine makes a text for each filter, and keeps to it from one connection to the next, in the order of their ids,
/// for as long as their SIDs are equal. So what a message costs depends on its neighbours, and one that comes between
/// two that share a text costs two.
///
/// Of messages of which nothing is known there is one for each topic and kind. Those whose size is known from others
/// take no more than a part of the pass, for they may turn out to be several times as large.
///
/// Threads: none of its own, no lock.
class PassPlan {
 public:
  explicit PassPlan(const ServerLimits& limits) : max_octets_(limits.pass_bytes), max_messages_(limits.pass_messages) {}

  /// Octets that the engine builds for this message beyond those of the plan.
  std::size_t BuiltOctets(const PassMessage& message) const { return TextsMore(message) * message.octets; }

  /// Whether the size of this message is not known, and enough others of that sort are built in this pass.
  bool MustWaitForSize(const PassMessage& message) const;

  /// Whether the bounds allow this message. The first one is allowed whatever its size.
  bool HasRoomFor(const PassMessage& message) const;

  /// `message` is to stay where it is until the plan is sealed.
  void Enter(const PassMessage& message);

  /// Takes what has been entered so far for no more than so many octets.
  void CapOctets(std::size_t most) { octets_ = std::min(octets_, most); }

  /// The engine may have begun: what is entered from now on shares its text with nobody.
  void Seal() {
    is_sealed_ = true;
    runs_.clear();
  }

  /// The engine has built a text.
  void NoteBuilt(const std::string& topic, std::size_t octets) { topics_[topic].built += octets; }

  /// Whether so much more was built than planned that the pass has had enough. Sizes change a little from pass to pass,
  /// and one message may be larger than all of a pass: that is in order.
  bool IsOverdrawn() const;

  std::size_t octets() const { return octets_; }
  std::size_t messages() const { return messages_; }

 private:
  struct Topic {
    std::size_t planned = 0;  // octets
    std::size_t built = 0;
  };
  using Run = std::map<ConnectionId, const std::string*>;  // SIDs

  std::size_t TextsMore(const PassMessage& message) const;

  const std::size_t max_octets_;
  const std::size_t max_messages_;
  bool is_sealed_ = false;
  std::size_t octets_ = 0;
  std::size_t messages_ = 0;
  std::size_t unmeasured_ = 0;  // octets
  std::map<TopicAndFilter, Run> runs_;
  std::map<std::string, Topic> topics_;
  std::set<std::pair<std::string, bool>> unknown_;  // topic and kind of an entered message of unknown size
};

}  // namespace probe
