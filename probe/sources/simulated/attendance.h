#pragma once

#include <optional>

#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/roster.h"

namespace probe::simulated {

/// When the owner of a client is in the building on one day. Units: minutes since local midnight.
struct Stay {
  int arrives = 0;  ///< Included.
  int leaves = 0;   ///< Not included; midnight at the latest.
};

/// The stay of the client's owner on `day`, as `Moment::day` counts; nothing when the owner stays away.
///
/// People come between half past seven and ten on working days and leave in the late afternoon, a few of them late at
/// night; some days they stay at home. At weekends hardly anybody comes. Things never leave.
std::optional<Stay> StayOn(const Dice& dice, const Client& client, std::int64_t day);

/// Whether the client uses the network at this moment: its owner is in the building, and it is not asleep. A phone
/// sleeps now and then, a laptop is closed at times.
bool IsThere(const Dice& dice, const Client& client, const Moment& moment);

/// Whether a visitor has signed in at the captive portal: most do, some minutes after they arrived. False for other
/// clients.
bool HasSignedIn(const Dice& dice, const Client& client, const Moment& moment);

/// The user name that the visitor is given for this day.
std::string PortalUserName(const Dice& dice, const Client& client, std::int64_t day);

/// The number of the stretch of `minutes` minutes that the moment lies in, for decisions that hold that long.
///
/// The stretches of each `who` begin at minutes of its own, so that not everybody changes at once.
std::int64_t SlotOf(const Dice& dice, std::uint64_t who, const Moment& moment, int minutes);

}  // namespace probe::simulated
