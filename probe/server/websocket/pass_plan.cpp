#include "probe/server/websocket/pass_plan.h"

#include <algorithm>
#include <iterator>

namespace probe {
namespace {

// What part of a pass messages may be larger than planned, all together, before later topics go without.
constexpr std::size_t kToleratedPart = 8;

// What part of a pass is for messages whose size is known from others.
constexpr std::size_t kUnmeasuredPart = 8;

}  // namespace

std::size_t PassPlan::TextsMore(const PassMessage& message) const {
  const auto found = runs_.find(message.key);
  if (found == runs_.end()) return 1;
  const Run& run = found->second;
  const auto next = run.upper_bound(message.connection);
  const std::string* const before = next == run.begin() ? nullptr : std::prev(next)->second;
  const std::string* const after = next == run.end() ? nullptr : next->second;
  if ((before != nullptr && *before == message.sids) || (after != nullptr && *after == message.sids)) return 0;
  return before != nullptr && after != nullptr && *before == *after ? 2 : 1;
}

bool PassPlan::MustWaitForSize(const PassMessage& message) const {
  if (message.is_measured || TextsMore(message) == 0) return false;
  if (message.octets == 0) return unknown_.contains({message.key.first, message.names_device});
  return unmeasured_ > 0 && unmeasured_ + BuiltOctets(message) > max_octets_ / kUnmeasuredPart;
}

bool PassPlan::HasRoomFor(const PassMessage& message) const {
  if (messages_ == max_messages_) return false;
  return octets_ == 0 || octets_ + BuiltOctets(message) <= max_octets_;
}

void PassPlan::Enter(const PassMessage& message) {
  const std::size_t built = BuiltOctets(message);
  octets_ += built;
  topics_[message.key.first].planned += built;
  ++messages_;
  if (!message.is_measured) unmeasured_ += built;
  if (message.octets == 0) unknown_.emplace(message.key.first, message.names_device);
  if (!is_sealed_) runs_[message.key][message.connection] = &message.sids;
}

bool PassPlan::IsOverdrawn() const {
  std::size_t excess = 0;
  for (const auto& [name, topic] : topics_) excess += topic.built - std::min(topic.built, topic.planned);
  return excess > max_octets_ / kToleratedPart && octets_ + excess > max_octets_;
}

}  // namespace probe
