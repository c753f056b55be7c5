#pragma once

#include <string_view>
#include <vector>

#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_entry.h"
#include "probe/sources/snmp/profile_tables.h"

namespace probe::snmp {

/// The name of a role in profiles: "interface", "radio", "ssid", "station", "portal_user", "neighbour".
std::string_view RoleName(Role role);

/// The figures that the device as a whole can have: "name", "model", "version", "mac", "uptime", "cpu".
const std::vector<std::string>& DeviceFigureNames();

/// Where the rows of a role come from: `entry` is its table, or an array of tables.
std::vector<RoleSource> ReadRole(const ProfileEntry& entry, Role role, ProfileTables& tables);

/// Where a figure of the device comes from.
DeviceChoice ReadDeviceFigure(const ProfileEntry& entry, ProfileTables& tables);

/// Takes the conditions of a table over, those under "only_if" and "skip_if" of its `entry`.
void ReadTableConditions(const ProfileEntry& entry, ProfileTables& tables, Profile& profile);

}  // namespace probe::snmp
