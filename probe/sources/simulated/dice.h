#pragma once

#include <cstdint>

namespace probe::simulated {

/// What a throw decides. Throws for different questions are independent of one another.
///
/// The numbers are hashed: a new question goes to the end, or every seed gives another company than before.
enum class Question : std::uint8_t {
  kSeedTag,
  kDesk,
  kFirstName,
  kCapability,
  kHeavyUser,
  kComesIn,
  kArrival,
  kDeparture,
  kLateEvening,
  kNap,
  kSlotPhase,
  kErrand,
  kErrandPlace,
  kLunch,
  kRadio,
  kDataRate,
  kSignsIn,
  kUserName,
  kActivity,
  kBurst,
  kVolume,
  kDirection,
  kWiredVolume,
  kOutageVictim,
  kFurtherOutage,
  kOutageDay,
  kOutageTime,
  kOutageLength,
  kMaintenance,
  kMaintenanceTime,
  kFlakyReboot,
  kFlakyRebootTime,
  kAge,
  kCpu,
  kCpuPeak,
  kNotice,
  kHears,
  kBand,
  kChannel,
  kOnAir,
  kSignal,
  kSignalDrift,
  kClientSignal,
};

/// A hash-based random function: a throw is a hash of the seed, the question, the subject (`who`) and the time
/// (`when`).
///
/// It keeps no state, unlike a generator: the same four arguments give the same number on every machine, in whatever
/// order and however often they are asked. So where a client is at a moment needs no history, the clock may jump or go
/// back, and one client more changes nothing about the others.
///
/// `who` is the number of a device, client or owner, `when` that of a minute, slot, day or week; a question that is
/// asked once for all times has no `when`.
///
/// Threads: any; nothing in it changes.
/// Source:  the mixing function is that of the SplitMix64 generator; all arithmetic is on 64-bit integers.
class Dice {
 public:
  explicit Dice(std::uint64_t seed);

  /// All 64 bits of a throw.
  std::uint64_t Throw(Question question, std::uint64_t who, std::int64_t when = 0) const;

  /// 0 to `limit` - 1, all equally likely. `limit` is above 0 and has 32 bits at most.
  std::uint64_t Below(std::uint64_t limit, Question question, std::uint64_t who, std::int64_t when = 0) const;

  /// `low` to `high`, both included, all equally likely.
  int Between(int low, int high, Question question, std::uint64_t who, std::int64_t when = 0) const;

  /// True with a probability of `percent` in a hundred.
  bool Percent(int percent, Question question, std::uint64_t who, std::int64_t when = 0) const;

 private:
  std::uint64_t seed_;  // already mixed
};

/// Two numbers of 32 bits as one `who`, for throws about a pair.
std::uint64_t Pair(std::uint64_t first, std::uint64_t second);

}  // namespace probe::simulated
