#include "probe/sources/simulated/attendance.h"

#include <algorithm>

namespace probe::simulated {
namespace {

Stay WorkingDay(const Dice& dice, const Client& client, std::int64_t day) {
  // Units: minutes since midnight. 450 is half past seven in the morning, 950 ten to four in the afternoon.
  // The sum of two throws, which differ in `when`, so that most people arrive, and leave, near the middle of the
  // interval.
  const int arrives = 450 + dice.Between(0, 75, Question::kArrival, client.owner, 2 * day) +
                      dice.Between(0, 75, Question::kArrival, client.owner, 2 * day + 1);
  if (dice.Percent(3, Question::kLateEvening, client.owner, day)) return {.arrives = arrives, .leaves = 23 * 60};
  const int leaves = 950 + dice.Between(0, 100, Question::kDeparture, client.owner, 2 * day) +
                     dice.Between(0, 80, Question::kDeparture, client.owner, 2 * day + 1);
  return {.arrives = arrives, .leaves = leaves};
}

Stay ShortStay(const Dice& dice, const Client& client, std::int64_t day, int longest) {
  // The longest stay from half past three on, four hours, ends before midnight.
  const int arrives = dice.Between(9 * 60, 15 * 60 + 30, Question::kArrival, client.owner, day);
  return {.arrives = arrives, .leaves = arrives + dice.Between(40, longest, Question::kDeparture, client.owner, day)};
}

std::optional<Stay> PersonOn(const Dice& dice, const Client& client, std::int64_t day) {
  const bool is_weekend = WeekdayOf(day) >= kSaturday;
  if (!dice.Percent(is_weekend ? 4 : 92, Question::kComesIn, client.owner, day)) return std::nullopt;
  return is_weekend ? ShortStay(dice, client, day, 240) : WorkingDay(dice, client, day);
}

std::optional<Stay> VisitorOn(const Dice& dice, const Client& client, std::int64_t day) {
  if (WeekdayOf(day) >= kSaturday || !dice.Percent(65, Question::kComesIn, client.owner, day)) return std::nullopt;
  return ShortStay(dice, client, day, 180);
}

/// Percent of the 12-minute slots in which a client is asleep although its owner is in the building.
int NapPercent(ClientKind kind) {
  switch (kind) {
    case ClientKind::kLaptop:
      return 4;
    case ClientKind::kPhone:
      return 12;
    case ClientKind::kThing:
      return 1;
    case ClientKind::kVisitor:
      break;
  }
  return 0;
}

}  // namespace

std::int64_t SlotOf(const Dice& dice, std::uint64_t who, const Moment& moment, int minutes) {
  const int phase = dice.Between(0, minutes - 1, Question::kSlotPhase, who, minutes);
  return moment.Slot(minutes, phase);
}

std::optional<Stay> StayOn(const Dice& dice, const Client& client, std::int64_t day) {
  if (client.kind == ClientKind::kThing) return Stay{.arrives = 0, .leaves = kMinutesOfDay};
  if (client.kind == ClientKind::kVisitor) return VisitorOn(dice, client, day);
  std::optional<Stay> stay = PersonOn(dice, client, day);
  // The phone finds the network at the door, the laptop is opened at the desk some minutes later.
  if (stay && client.kind == ClientKind::kLaptop) stay->arrives += 4;
  return stay;
}

bool IsThere(const Dice& dice, const Client& client, const Moment& moment) {
  const std::optional<Stay> stay = StayOn(dice, client, moment.day);
  if (!stay || moment.minute_of_day < stay->arrives || moment.minute_of_day >= stay->leaves) return false;
  const int percent = NapPercent(client.kind);
  if (percent == 0) return true;
  constexpr int kNapMinutes = 12;
  const std::int64_t slot = SlotOf(dice, client.number, moment, kNapMinutes);
  return !dice.Percent(percent, Question::kNap, client.number, slot);
}

bool HasSignedIn(const Dice& dice, const Client& client, const Moment& moment) {
  if (client.kind != ClientKind::kVisitor) return false;
  const std::optional<Stay> stay = StayOn(dice, client, moment.day);
  if (!stay || !dice.Percent(90, Question::kSignsIn, client.number, moment.day)) return false;
  // The complement of the day makes this throw another one than that of the line above.
  const int delay = dice.Between(1, 4, Question::kSignsIn, client.number, ~moment.day);
  return moment.minute_of_day >= stay->arrives + delay && moment.minute_of_day < stay->leaves;
}

std::string PortalUserName(const Dice& dice, const Client& client, std::int64_t day) {
  return "guest-" + std::to_string(dice.Between(1000, 9999, Question::kUserName, client.number, day));
}

}  // namespace probe::simulated
