#pragma once

#include <cstddef>

#include "probe/host/device_snapshot.h"
#include "probe/sources/simulated/device_load.h"
#include "probe/sources/simulated/device_state.h"
#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/neighbourhood.h"
#include "probe/sources/simulated/radio_side.h"

namespace probe::simulated {

/// The part of a snapshot that every device has: who it is, its ports, and that it was read at `moment`.
DeviceSnapshot CommonSnapshot(const DevicePlan& device, const DeviceState& state, const Moment& moment);

/// Adds the device's load, and the failed login of one that refuses it.
void AddLoad(const DevicePlan& device, const DeviceLoad& load, DeviceSnapshot& snapshot);

/// Adds the wireless side of an access point except its scan table: radios, SSID interfaces with clients, portal users.
///
/// Two access points of three write addresses with colons, upper case and lower case; the third writes dashes.
void AddWireless(const Dice& dice, std::size_t access_point, const DeviceState& state, const RadioSide& air,
                 const Moment& moment, DeviceSnapshot& snapshot);

}  // namespace probe::simulated
