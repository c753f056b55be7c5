#pragma once

#include <optional>

#include "probe/sources/this_machine/wifi_reading.h"

struct nlmsghdr;

namespace probe {

/// The interface that an nl80211 message describes, without its stations, which come in messages of their own. Nothing
/// for a message without the index and name of an interface, as of a virtual device that exists on a radio only.
///
/// Source: linux/nl80211.h, NL80211_CMD_NEW_INTERFACE.
std::optional<WifiInterface> InterfaceIn(nlmsghdr* message);

/// The station that an nl80211 message describes; nothing for a message without one. `frequency` is that of its
/// interface, in MHz: it tells 802.11a from b and g, which have rates in common.
///
/// Source: linux/nl80211.h, NL80211_CMD_NEW_STATION.
std::optional<WifiStation> StationIn(nlmsghdr* message, std::uint32_t frequency);

}  // namespace probe
