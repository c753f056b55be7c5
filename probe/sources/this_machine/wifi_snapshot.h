#pragma once

#include <vector>

#include "probe/host/device_snapshot.h"
#include "probe/sources/this_machine/wifi_reading.h"

namespace probe {

/// Adds the wireless side of this machine to its snapshot, whose interfaces are there already; nothing without a card.
///
/// Radios are named as the kernel names them, "phy0". A machine that serves clients is an access point. Its SSIDs are
/// configured for their radio, with an unknown security mode, which the kernel does not tell.
void AddWifi(const std::vector<WifiInterface>& interfaces, DeviceSnapshot& snapshot);

}  // namespace probe
