#include "probe/server/net/address_rates.h"

#include <algorithm>
#include <utility>

namespace probe {
namespace {

/// A few times what one connection may; full, for it is forgotten when it is.
RateLimiter TimesOf(std::size_t per_second, RateLimiter::Clock::time_point now) {
  const auto times = [per_second](std::size_t factor) { return static_cast<double>(factor * per_second); };
  RateLimiter rate(times(AddressRates::kTimes), times(AddressRates::kTimesAtOnce), now);
  rate.Give(times(AddressRates::kTimesAtOnce));
  return rate;
}

/// The part that nobody can take. One token at least can be saved.
RateLimiter PartOf(std::size_t per_second, RateLimiter::Clock::time_point now) {
  const double part = static_cast<double>(per_second) * ClientRates::kOwnPart;
  return {part, std::max(part, 1.0), now};
}

}  // namespace

AddressRates::AddressRates(const ServerLimits& limits, RateLimiter::Clock::time_point now)
    : requests(TimesOf(limits.messages_per_second, now)),
      messages(TimesOf(limits.messages_per_second, now)),
      octets(TimesOf(limits.bytes_per_second, now)) {}

std::shared_ptr<AddressRates> AddressRatesRegister::Of(const std::string& group, Clock::time_point now) {
  if (rates_.size() >= kMaxGroups && !rates_.contains(group)) ForgetSome(now);
  std::shared_ptr<AddressRates>& rates = rates_[group];
  if (rates == nullptr) rates = std::make_shared<AddressRates>(limits_, now);
  return rates;
}

void AddressRatesRegister::ForgetSome(Clock::time_point now) {
  std::erase_if(rates_, [now](const auto& entry) {
    AddressRates& rates = *entry.second;
    return entry.second.use_count() == 1 && rates.requests.IsFull(now) && rates.messages.IsFull(now) &&
           rates.octets.IsFull(now);
  });
  if (rates_.size() < kMaxGroups) return;
  const auto missing = [](const auto& entry) {
    return entry.second->requests.missing_part() + entry.second->messages.missing_part() +
           entry.second->octets.missing_part();
  };
  rates_.erase(std::min_element(rates_.begin(), rates_.end(),
                                [&](const auto& left, const auto& right) { return missing(left) < missing(right); }));
}

ClientRates::ClientRates(const ServerLimits& limits, std::shared_ptr<AddressRates> of_address, Clock::time_point now)
    : messages_(limits.messages_per_second, now),
      octets_(limits.bytes_per_second, now),
      own_messages_(PartOf(limits.messages_per_second, now)),
      own_octets_(PartOf(limits.bytes_per_second, now)),
      of_address_(std::move(of_address)) {}

ClientRates::Verdict ClientRates::Count(std::size_t octets, Clock::time_point now) {
  auto result = messages_.Count(now);
  if (result != RateLimiter::Result::kAccepted) return {Limit::kMessages, result};
  result = octets_.CountOctets(octets, now);
  if (result != RateLimiter::Result::kAccepted) return {Limit::kOctets, result};
  if (!IsWithinAddress(octets, now)) return {Limit::kAddress, messages_.Refuse(now)};
  return {};
}

bool ClientRates::IsWithinAddress(std::size_t octets, Clock::time_point now) {
  // The octets before the message of its own part: a refused message takes no token that others could use.
  const bool has_own = own_octets_.HasAny(now) && own_messages_.SpendOne(now);
  if (has_own) return own_octets_.SpendOctets(octets, now);
  if (!of_address_->octets.HasAny(now) || !of_address_->messages.SpendOne(now)) return false;
  return of_address_->octets.SpendOctets(octets, now);
}

}  // namespace probe
