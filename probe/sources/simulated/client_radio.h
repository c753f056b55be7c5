#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/device_records.h"
#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/roster.h"

namespace probe::simulated {

/// The radio that the client chooses at this moment, as a number in `kRadioNames`. Things know 2.4 GHz only; all
/// others prefer 5 GHz and fall back now and then.
std::size_t RadioOf(const Dice& dice, const Client& client, const Moment& moment);

/// The operating mode of a client of this age on this radio. Source: IEEE Std 802.11.
vexora_probe::models::controller::WIFIOpMode ModeOf(const Dice& dice, const Client& client, std::size_t radio);

/// The data rate that the access point reports for the client, one that its mode has. Units: megabits per second.
std::int32_t DataRateOf(const Dice& dice, const Client& client, std::size_t radio, const Moment& moment);

/// The signal level at which the access point hears the client: the stronger, the higher its data rate. Units: dBm.
std::int32_t SignalOf(const Dice& dice, const Client& client, std::size_t radio, const Moment& moment);

}  // namespace probe::simulated
