#pragma once

#include <vector>

#include "probe/host/device_snapshot.h"
#include "probe/sources/this_machine/wifi_reading.h"

namespace probe {

/// Adds the wireless side of this machine to its snapshot, whose interfaces are filled already; nothing without a Wi-Fi
/// card.
///
/// Radios are named as the kernel names them, "phy0". A machine that serves clients is an access point. Its SSIDs are
/// configured for their radio, with the security mode -1 (unknown), which nl80211 does not report.
void AddWifi(const std::vector<WifiInterface>& interfaces, DeviceSnapshot& snapshot);

}  // namespace probe
