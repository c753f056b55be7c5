#include "probe/sources/simulated/whereabouts.h"

#include "probe/sources/simulated/attendance.h"
#include "probe/sources/simulated/client_radio.h"
#include "probe/sources/simulated/wireless_networks.h"

namespace probe::simulated {
namespace {

/// Places of a floor that people meet in: its first access point hangs in the kitchen, its third in the meeting room.
constexpr std::size_t kKitchen = 0;
constexpr std::size_t kMeetingRoom = 2;

bool IsAtLunch(const Dice& dice, const Client& client, const Moment& moment) {
  const int begins = dice.Between(11 * 60 + 45, 13 * 60, Question::kLunch, client.owner, moment.day);
  return moment.minute_of_day >= begins && moment.minute_of_day < begins + 35;
}

std::size_t Place(const Floor& floor, std::size_t place) {
  // A small floor has fewer access points than there are places.
  return floor.first_access_point + place % floor.access_points;
}

std::optional<std::size_t> NextOnTheAir(const Floor& floor, std::size_t wanted, const IsOnTheAir& is_on_the_air) {
  for (std::size_t step = 0; step < floor.access_points; ++step) {
    const std::size_t access_point = Place(floor, wanted - floor.first_access_point + step);
    if (is_on_the_air(access_point)) return access_point;
  }
  return std::nullopt;
}

}  // namespace

std::size_t NearestAccessPoint(const Dice& dice, const FloorPlan& plan, const Client& client, const Moment& moment) {
  const auto desk = static_cast<std::size_t>(dice.Below(plan.access_points(), Question::kDesk, client.owner));
  if (client.kind == ClientKind::kThing) return desk;
  const Floor& floor = plan.FloorOf(desk);
  if (IsAtLunch(dice, client, moment)) return Place(floor, kKitchen);
  constexpr int kErrandMinutes = 25;
  // By the owner, so that laptop and phone go together.
  const std::int64_t slot = SlotOf(dice, client.owner, moment, kErrandMinutes);
  const int errand = dice.Between(0, 99, Question::kErrand, client.owner, slot);
  if (errand < 72) return desk;
  if (errand < 84) return Place(floor, kMeetingRoom);
  return Place(floor, dice.Below(floor.access_points, Question::kErrandPlace, client.owner, slot));
}

std::optional<Spot> SpotOf(const Dice& dice, const FloorPlan& plan, const Client& client, const Moment& moment,
                           const IsOnTheAir& is_on_the_air) {
  if (!IsThere(dice, client, moment)) return std::nullopt;
  const std::size_t nearest = NearestAccessPoint(dice, plan, client, moment);
  const std::optional<std::size_t> access_point = NextOnTheAir(plan.FloorOf(nearest), nearest, is_on_the_air);
  if (!access_point) return std::nullopt;
  return Spot{.access_point = *access_point, .radio = RadioOf(dice, client, moment)};
}

}  // namespace probe::simulated
