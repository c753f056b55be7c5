#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/roster.h"

namespace probe::simulated {

/// Whether an access point is online at the moment in question.
using IsOnTheAir = std::function<bool(std::size_t access_point)>;

/// What a client is associated with.
struct Spot {
  std::size_t access_point = 0;
  std::size_t radio = 0;  ///< A number in `kRadioNames`.

  bool operator==(const Spot&) const = default;
};

/// The access point nearest to the client's owner, online or not, and whether or not the client is there.
///
/// Everybody has a desk, things stay at it; people spend part of the day in meetings, in the kitchen and elsewhere on
/// their floor, and take their clients with them. There is always an access point on every floor that is used.
std::size_t NearestAccessPoint(const Dice& dice, const FloorPlan& plan, const Client& client, const Moment& moment);

/// What the client is associated with; nothing while it is away or asleep, or every access point of its floor is
/// offline.
///
/// Clients of an access point that is offline use the next one of the floor.
std::optional<Spot> SpotOf(const Dice& dice, const FloorPlan& plan, const Client& client, const Moment& moment,
                           const IsOnTheAir& is_on_the_air);

}  // namespace probe::simulated
