#include "probe/server/net/connection_limiter.h"

#include "probe/server/net/ip_address.h"

namespace probe {

ConnectionLimiter::ConnectionLimiter(const ServerLimits& limits)
    : max_connections_(limits.connections), max_per_address_(limits.connections_per_address) {}

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

}  // namespace probe
