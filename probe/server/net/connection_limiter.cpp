#include "probe/server/net/connection_limiter.h"

#include <sys/resource.h>

#include <algorithm>

#include "probe/host/log.h"
#include "probe/server/net/ip_address.h"

namespace probe {
namespace {

// File descriptors for all but the clients: listeners, log, the sources, the plug-in.
constexpr std::size_t kOtherDescriptors = 64;

}  // namespace

ConnectionLimiter::Verdict ConnectionLimiter::Acquire(const std::string& address) {
  const std::string group = AddressGroup(address);
  const auto found = of_address_.find(group);
  const bool is_address_taken = found != of_address_.end() && found->second >= max_per_address_;
  if (connections_ < max_connections_ && !is_address_taken && max_per_address_ > 0) {
    ++connections_;
    ++of_address_[group];
    return Verdict::kAccepted;
  }
  if (rejected_ >= kMaxRejected) return Verdict::kRejectionLimit;
  ++rejected_;
  return is_address_taken ? Verdict::kAddressLimit : Verdict::kConnectionLimit;
}

void ConnectionLimiter::Release(const std::string& address, Verdict verdict) {
  if (verdict == Verdict::kRejectionLimit) return;
  if (verdict != Verdict::kAccepted) {
    --rejected_;
    return;
  }
  --connections_;
  const auto found = of_address_.find(AddressGroup(address));
  if (--found->second == 0) of_address_.erase(found);
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
