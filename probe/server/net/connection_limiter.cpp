#include "probe/server/net/connection_limiter.h"

#include <sys/resource.h>

#include <algorithm>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/net/ip_address.h"

namespace probe {
namespace {

// File descriptors for all but the clients: listeners, log, the sources, the plug-in.
constexpr std::size_t kOtherDescriptors = 64;

}  // namespace

ConnectionLimiter::Place ConnectionLimiter::Acquire(const std::string& address) {
  std::string group = AddressGroup(address);
  const auto found = counts_->of_address.find(group);
  const bool is_address_taken = found != counts_->of_address.end() && found->second >= max_per_address_;
  if (counts_->accepted < max_connections_ && !is_address_taken && max_per_address_ > 0) {
    ++counts_->of_address[group];
    ++counts_->accepted;
    return {counts_, Admission::kAccepted, std::move(group)};
  }
  if (counts_->rejected >= kMaxRejected) return {nullptr, Admission::kRejectionLimit, {}};
  ++counts_->rejected;
  return {counts_, is_address_taken ? Admission::kAddressLimit : Admission::kConnectionLimit, {}};
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
  log::Error("[WebServer] the system allows %llu open files, enough for no more than limits.connections = %zu",
             static_cast<unsigned long long>(limit.rlim_cur), affordable);
  return affordable;
}

}  // namespace probe
