#include "probe/server/net/address_rates.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace probe {
namespace {

/// A few times what one connection may; full, for it is forgotten when it is.
RateLimiter TimesOf(std::size_t per_second, RateLimiter::Clock::time_point now) {
  const auto times = [per_second](std::size_t factor) { return static_cast<double>(factor * per_second); };
  RateLimiter rate(times(AddressRates::kTimes), times(AddressRates::kTimesAtOnce), now);
  rate.Give(times(AddressRates::kTimesAtOnce));
  return rate;
}

/// A part of a rate, of which one token at least can be saved. It has none to begin with.
RateLimiter PartOf(double part, std::size_t per_second, RateLimiter::Clock::time_point now) {
  const double of_rate = static_cast<double>(per_second) * part;
  return {of_rate, std::max(of_rate, 1.0), now};
}

/// How much of its rates an address has used up lately, as a sum of parts; 0: it is as good as a new one.
double UsedUp(AddressRates& rates, RateLimiter::Clock::time_point now) {
  return rates.requests.MissingPart(now) + rates.unauthorized_requests.MissingPart(now) +
         rates.messages.MissingPart(now) + rates.octets.MissingPart(now);
}

}  // namespace

AddressRates::AddressRates(const ServerLimits& limits, RateLimiter::Clock::time_point now)
    : requests(TimesOf(limits.messages_per_second, now)),
      unauthorized_requests(TimesOf(limits.messages_per_second, now)),
      messages(TimesOf(limits.messages_per_second, now)),
      octets(TimesOf(limits.bytes_per_second, now)) {}

std::shared_ptr<AddressRates> AddressRatesRegister::Of(const std::string& group, Clock::time_point now) {
  if (rates_.size() >= most_ && !rates_.contains(group)) ForgetSome(now);
  std::shared_ptr<AddressRates>& rates = rates_[group];
  if (rates == nullptr) rates = std::make_shared<AddressRates>(limits_, now);
  return rates;
}

void AddressRatesRegister::ForgetSome(Clock::time_point now) {
  // One that is in use stays: its connections would go on with rates that nobody else of their address shares.
  const auto is_unused = [](const auto& entry) { return entry.second.use_count() == 1; };
  std::erase_if(rates_, [&](const auto& entry) { return is_unused(entry) && UsedUp(*entry.second, now) <= 0; });
  std::vector<double> used_up;
  for (const auto& entry : rates_)
    if (is_unused(entry)) used_up.push_back(UsedUp(*entry.second, now));
  constexpr std::size_t kKept = kMaxGroups / 2;
  if (used_up.size() > kKept) {
    const auto least = used_up.end() - static_cast<std::ptrdiff_t>(kKept);
    std::nth_element(used_up.begin(), least, used_up.end());
    std::erase_if(rates_, [&](const auto& entry) { return is_unused(entry) && UsedUp(*entry.second, now) <= *least; });
  }
  // Not before so many others have come: they are not looked through for each new one, however many are in use.
  most_ = rates_.size() + kKept;
}

RequestRates::RequestRates(const ServerLimits& limits, std::shared_ptr<AddressRates> of_address, Clock::time_point now)
    : requests_(limits.messages_per_second, now),
      few_requests_(PartOf(kPartForFew, limits.messages_per_second, now)),
      of_address_(std::move(of_address)) {
  few_requests_.Give(static_cast<double>(limits.messages_per_second));
}

RequestRates::Limit RequestRates::Count(bool is_authorized, Clock::time_point now) {
  if (requests_.Count(now) != RateLimiter::Result::kAccepted) return Limit::kConnection;
  const bool has_few = few_requests_.SpendOne(now);
  RateLimiter& of_address = is_authorized ? of_address_->requests : of_address_->unauthorized_requests;
  return of_address.SpendOneAbove(has_few ? 0 : kPartForFew, now) ? Limit::kNone : Limit::kAddress;
}

ClientRates::ClientRates(const ServerLimits& limits, std::shared_ptr<AddressRates> of_address, Clock::time_point now)
    : messages_(limits.messages_per_second, now),
      octets_(limits.bytes_per_second, now),
      own_messages_(PartOf(kOwnPart, limits.messages_per_second, now)),
      own_octets_(PartOf(kOwnPart, limits.bytes_per_second, now)),
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
