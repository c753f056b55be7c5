#include "probe/server/net/connection_limiter.h"

#include <sys/resource.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/net/ip_address.h"

namespace probe {
namespace {

// File descriptors for all but the clients: listeners, log, the sources, the plug-in.
constexpr std::size_t kOtherDescriptors = 64;

}  // namespace

ConnectionLimiter::Place ConnectionLimiter::Acquire(const std::string& address) {
  return AcquireFor(AddressGroup(address));
}

ConnectionLimiter::Place ConnectionLimiter::AcquireForProxy() {
  return AcquireFor({});
}

ConnectionLimiter::Place ConnectionLimiter::AcquireFor(std::string group) {
  const bool has_room = group.empty() || HasRoom(group);
  if (counts_->accepted < max_connections_ && has_room) {
    if (!group.empty()) ++counts_->of_address[group];
    ++counts_->accepted;
    return {counts_, Admission::kAccepted, std::move(group)};
  }
  if (counts_->rejected >= kMaxRejected) return {nullptr, Admission::kRejectionLimit, {}};
  ++counts_->rejected;
  return {counts_, has_room ? Admission::kConnectionLimit : Admission::kAddressLimit, {}};
}

bool ConnectionLimiter::HasRoom(const std::string& group) const {
  const auto found = counts_->of_address.find(group);
  return max_per_address_ > (found == counts_->of_address.end() ? 0 : found->second);
}

bool ConnectionLimiter::Assign(Place& place, const std::string& address) {
  assert(place.admission_ == Admission::kAccepted && place.group_.empty());
  std::string group = AddressGroup(address);
  if (!HasRoom(group)) return false;
  ++counts_->of_address[group];
  place.group_ = std::move(group);
  return true;
}

ConnectionLimiter::Place::~Place() {
  Release();
}

void ConnectionLimiter::Place::Release() {
  const auto counts = std::exchange(counts_, nullptr);
  if (counts == nullptr) return;
  if (admission_ != Admission::kAccepted) {
    --counts->rejected;
    return;
  }
  --counts->accepted;
  if (group_.empty()) return;
  const auto found = counts->of_address.find(group_);
  if (--found->second == 0) counts->of_address.erase(found);
}

std::size_t RaiseDescriptorLimit(std::size_t wanted) {
  constexpr std::size_t kBesides = ConnectionLimiter::kMaxRejected + kOtherDescriptors;
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted + kBesides) return wanted;
  limit.rlim_cur = std::min<rlim_t>(wanted + kBesides, limit.rlim_max);
  setrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur >= wanted + kBesides) return wanted;
  const std::size_t affordable = limit.rlim_cur > kBesides ? limit.rlim_cur - kBesides : 1;
  log::Warning("[WebServer] the system allows %llu open files, enough for no more than limits.connections = %zu",
               static_cast<unsigned long long>(limit.rlim_cur), affordable);
  return affordable;
}

}  // namespace probe
