#include "probe/sources/snmp/counter_widening.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace probe::snmp {
namespace {

/// What a link whose speed is not known is taken to carry at most when a counter went back.
constexpr std::uint64_t kAssumedBitsPerSecond = 1'000'000'000;

/// More than one link carries: a step forward above it is a fault of the agent. A lower speed that a device gives is no
/// bound for a step forward, because many give 10 Mbit/s for every virtual interface.
constexpr std::uint64_t kMaxBitsPerSecond = 800'000'000'000;

/// Agents serve counters that they read up to so long ago.
constexpr double kCacheSeconds = 5;
constexpr double kClockTolerance = 1.05;

/// A Counter32 that goes back by less than this slipped. A true wrap that ends so near is rare, and costs a gap only.
constexpr std::uint64_t kMaxSlip = std::uint64_t{1} << 24;
constexpr std::uint64_t kLeastSlipDistance = (std::uint64_t{1} << 32) - kMaxSlip;

bool Fits(std::uint64_t octets, std::int64_t ticks, std::uint64_t bits_per_second) {
  constexpr double kTicksPerSecond = 100;
  constexpr double kBitsPerOctet = 8;
  const double seconds = static_cast<double>(ticks) / kTicksPerSecond * kClockTolerance + kCacheSeconds;
  return static_cast<double>(octets) * kBitsPerOctet <= static_cast<double>(bits_per_second) * seconds;
}

std::uint64_t SpeedOf(const CounterReading& reading) {
  return std::max<std::uint64_t>(reading.bits_per_second.value_or(kAssumedBitsPerSecond), 1);
}

/// Whether the counter goes back without having changed its kind.
bool WentBack(const OctetCounter& from, const OctetCounter& to) {
  return from.is_64bit == to.is_64bit && to.value < from.value;
}

/// Whether there is evidence that the counter was set anew between the two readings.
bool HasRestarted(const CounterReading& last, const CounterReading& now) {
  if (last.device_starts != now.device_starts) return true;
  if (now.restarts_alone && WentBack(last.counter, now.counter)) return true;
  return last.discontinuity_ticks && now.discontinuity_ticks && *last.discontinuity_ticks != *now.discontinuity_ticks;
}

/// The way from one value to the other modulo 2^32, or 2^64 when both have as many bits.
std::uint64_t Distance(const OctetCounter& from, const OctetCounter& to) {
  const std::uint64_t distance = to.value - from.value;
  return from.is_64bit && to.is_64bit ? distance : static_cast<std::uint32_t>(distance);
}

}  // namespace

CounterStep WidenedCounter::ContinueFrom(std::uint64_t value, std::int64_t read_at, std::uint32_t device_starts) {
  value_ = value;
  earlier_ = {.read_at = read_at, .device_starts = device_starts};
  doubtful_.reset();
  const auto newest = std::exchange(last_, std::nullopt);
  return newest ? Take(*newest) : CounterStep::kFirst;
}

CounterStep WidenedCounter::Take(const CounterReading& reading) {
  if (earlier_) {
    // Widening keeps the low 32 bits of a Counter32, so the value tells the reading from which it came.
    const bool is_64bit = reading.counter.is_64bit;
    last_ = reading;
    last_->counter.value = is_64bit ? value_ : static_cast<std::uint32_t>(value_);
    last_->read_at = std::min(earlier_->read_at, reading.read_at);
    last_->device_starts = earlier_->device_starts;
    earlier_.reset();
  }
  if (!last_) {
    value_ = reading.counter.value;
    Accept(reading);
    return CounterStep::kFirst;
  }
  if (HasRestarted(*last_, reading)) return TakeAfterRestart(reading);
  const std::int64_t ticks = reading.read_at - last_->read_at;
  const std::uint64_t octets = Distance(last_->counter, reading.counter);
  const bool is_wide = last_->counter.is_64bit && reading.counter.is_64bit;
  // A Counter32 may also slip back through its wrap, which looks like nearly a whole turn forward.
  if (!is_wide && octets > kLeastSlipDistance) return Doubt(reading);
  const bool goes_forward =
      last_->counter.is_64bit == reading.counter.is_64bit && reading.counter.value >= last_->counter.value;
  const std::uint64_t speed = goes_forward ? std::max(SpeedOf(reading), kMaxBitsPerSecond) : SpeedOf(reading);
  return Fits(octets, ticks, speed) ? Count(reading, octets) : Doubt(reading);
}

CounterStep WidenedCounter::TakeAfterRestart(const CounterReading& reading) {
  const std::int64_t ticks = reading.read_at - last_->read_at;
  // An agent that restarts leaves the counters of the system alone, so the counter itself may have gone on. What passed
  // is at least the smaller one of the way from the last reading and of what the counter shows.
  const std::uint64_t octets = std::min(Distance(last_->counter, reading.counter), reading.counter.value);
  if (!Fits(octets, ticks, SpeedOf(reading))) {
    // The evidence is used up: what follows is compared with this reading, not with one before the restart.
    Accept(reading);
    return CounterStep::kGap;
  }
  if (!WentBack(last_->counter, reading.counter) || reading.counter.value >= value_) return Count(reading, octets);
  value_ = reading.counter.value;
  Accept(reading);
  return CounterStep::kRestarted;
}

CounterStep WidenedCounter::Count(const CounterReading& reading, std::uint64_t octets) {
  value_ += octets;
  Accept(reading);
  return CounterStep::kCounted;
}

CounterStep WidenedCounter::Doubt(const CounterReading& reading) {
  const bool goes_on =
      doubtful_ && doubtful_->is_64bit == reading.counter.is_64bit && doubtful_->value <= reading.counter.value;
  if (goes_on) {
    Accept(reading);
  } else {
    doubtful_ = reading.counter;
  }
  return CounterStep::kGap;
}

void WidenedCounter::Accept(const CounterReading& reading) {
  const auto discontinuity = last_ ? last_->discontinuity_ticks : std::nullopt;
  last_ = reading;
  // A column that fails once must not hide that its value changed.
  if (!last_->discontinuity_ticks) last_->discontinuity_ticks = discontinuity;
  doubtful_.reset();
}

}  // namespace probe::snmp
