#include "probe/sources/simulated/client_traffic.h"

#include <array>

#include "probe/sources/simulated/attendance.h"

namespace probe::simulated {
namespace {

/// Traffic by the hour of the day. Units: percent of the busiest hour.
constexpr std::array<int, 24> kRhythm{6,  5,  4,  4,   4,  5,  10, 35, 70, 95, 100, 90,
                                      55, 75, 95, 100, 90, 65, 40, 25, 18, 14, 10,  8};

bool IsHeavyUser(const Dice& dice, const Client& client) {
  return client.kind != ClientKind::kThing && dice.Below(25, Question::kHeavyUser, client.owner) == 0;
}

/// Octets per second of ordinary work in this minute, before bursts are added.
std::uint64_t OrdinaryVolume(const Dice& dice, const Client& client, const Moment& moment) {
  const auto draw = [&](int low, int high) {
    return static_cast<std::uint64_t>(dice.Between(low, high, Question::kVolume, client.number, moment.minute));
  };
  if (client.kind == ClientKind::kThing) return draw(60, 900);
  constexpr int kActivityMinutes = 10;
  const std::int64_t slot = SlotOf(dice, client.number, moment, kActivityMinutes);
  const bool is_idle = dice.Percent(35, Question::kActivity, client.number, slot);
  if (is_idle) return draw(40, 400);
  return client.kind == ClientKind::kLaptop ? draw(2'000, 60'000) : draw(500, 25'000);
}

/// Octets per second that a download or a copy adds in this minute; 0 in most.
std::uint64_t BurstVolume(const Dice& dice, const Client& client, const Moment& moment) {
  if (client.kind == ClientKind::kThing || !dice.Percent(3, Question::kBurst, client.number, moment.minute)) return 0;
  // The complement of the minute makes this throw another one than the decision above.
  return static_cast<std::uint64_t>(dice.Between(400'000, 3'500'000, Question::kBurst, client.number, ~moment.minute));
}

}  // namespace

int RhythmPercent(const Moment& moment) {
  // A quarter at weekends, rounded up so that it never is 0.
  const int percent = kRhythm[static_cast<std::size_t>(moment.minute_of_day / 60)];
  return moment.weekday < kSaturday ? percent : (percent + 3) / 4;
}

Octets ClientRate(const Dice& dice, const Client& client, const Moment& moment) {
  std::uint64_t volume = OrdinaryVolume(dice, client, moment) + BurstVolume(dice, client, moment);
  if (IsHeavyUser(dice, client)) volume *= 10;
  // Printers and displays send as much at night.
  if (client.kind != ClientKind::kThing) volume = volume * static_cast<std::uint64_t>(RhythmPercent(moment)) / 100;
  // Clients mostly download; in one minute of twelve they upload or hold a call instead.
  const std::uint64_t direction = dice.Below(12, Question::kDirection, client.number, moment.minute);
  // Acknowledgements go the other way, so that no direction of an associated client is ever silent.
  const std::uint64_t small = volume / 9 + 20;
  return direction == 0 ? Octets{.in = volume + 20, .out = volume * 2 / 3 + 20}
                        : Octets{.in = small, .out = volume + 30};
}

}  // namespace probe::simulated
