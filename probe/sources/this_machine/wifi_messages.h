#pragma once

#include <optional>

#include "probe/sources/this_machine/wifi_reading.h"

struct nlmsghdr;

namespace probe {

/// The interface that an nl80211 message tells of; nothing for a message without an interface in it, as of one that
/// exists on a radio only. Stations are asked for in messages of their own.
///
/// Source: linux/nl80211.h, NL80211_CMD_NEW_INTERFACE.
std::optional<WifiInterface> InterfaceIn(nlmsghdr* message);

/// The station that an nl80211 message tells of; nothing for a message without one. `frequency` is that of its
/// interface, in MHz: it tells the older modes apart.
///
/// Source: linux/nl80211.h, NL80211_CMD_NEW_STATION.
std::optional<WifiStation> StationIn(nlmsghdr* message, std::uint32_t frequency);

}  // namespace probe
