#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/roster.h"

namespace probe::simulated {

/// Whether an access point answers at present.
using IsOnTheAir = std::function<bool(std::size_t access_point)>;

/// Where a client stands on the network.
struct Spot {
  std::size_t access_point = 0;
  std::size_t radio = 0;  ///< A number in `kRadioNames`.

  bool operator==(const Spot&) const = default;
};

/// The access point nearest to the client's owner, whatever it does at present. It is there whether or not the client
/// is.
///
/// Everybody has a desk, things stay at it; people spend part of the day in meetings, in the kitchen and elsewhere on
/// their floor, and take their clients with them. There is always an access point on every floor that is used.
std::size_t NearestAccessPoint(const Dice& dice, const FloorPlan& plan, const Client& client, const Moment& moment);

/// Where the client stands; nothing while it is away, asleep, or out of reach of an access point that is on the air.
///
/// An access point that is off the air sends its clients to the next one of the floor.
std::optional<Spot> SpotOf(const Dice& dice, const FloorPlan& plan, const Client& client, const Moment& moment,
                           const IsOnTheAir& is_on_the_air);

}  // namespace probe::simulated
