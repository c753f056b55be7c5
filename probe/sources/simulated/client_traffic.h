#pragma once

#include <cstdint>

#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/octets.h"
#include "probe/sources/simulated/roster.h"

namespace probe::simulated {

/// What a client sends (`in`, for its access point receives it) and receives (`out`) in one second of this minute.
///
/// People work for ten minutes or idle for ten; now and then something large is fetched or saved for a minute. One
/// person in twenty-five has work that moves ten times as much. The hour decides too: less at lunch and in the evening,
/// little at night. The whole minute has one rate.
Octets ClientRate(const Dice& dice, const Client& client, const Moment& moment);

/// How busy the company is at this time of day. Units: percent of the busiest hour, 1 to 100.
int RhythmPercent(const Moment& moment);

}  // namespace probe::simulated
