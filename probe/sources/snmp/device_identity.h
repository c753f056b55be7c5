#pragma once

#include <optional>
#include <string>
#include <vector>

#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/snmp_settings.h"

namespace probe::snmp {

/// The MAC that is a device's id, in the notation of `format_macaddress`. In this order:
///
/// 1. the one that the settings give;
/// 2. the one that the profile found: that of the device's chassis or bridge;
/// 3. of the Ethernet interfaces, the address of the one with the lowest ifIndex;
/// 4. of all other interfaces likewise;
/// 5. the lowest BSSID;
/// 6. a locally administered one made from address and port, which stays the same as long as they do.
///
/// Addresses of groups and those without a digit above 0 are passed over. Nothing: the device shows neither a name nor
/// what it is, or a table failed in which the profile looks for the address, or that of interfaces or of SSIDs, and
/// there is no earlier one in the list; another reading may tell. `is_last_try` goes on without them.
///
/// Source: IEEE Std 802-2014, 8.2 (group and local addresses); RFC 2863, ifPhysAddress and ifType.
std::optional<std::string> FindDeviceMac(const DeviceSettings& settings, const Reading& reading, bool is_last_try);

/// The names under which the interfaces are known, row by row: unique, and the same when the table is renumbered.
///
/// A name that several rows have is that of the one with the lowest ifIndex; the others get " (2)", " (3)" and so on.
/// An empty name becomes "interface 7", with the ifIndex, and a plain number "port 7", because the contract's
/// interfaces have names that are neither.
std::vector<std::string> InterfaceNames(const std::vector<InterfaceReading>& rows);

}  // namespace probe::snmp
