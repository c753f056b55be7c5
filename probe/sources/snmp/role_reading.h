#pragma once

#include <vector>

#include "platform/device_records.h"
#include "probe/sources/snmp/device_tables.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/reading.h"

namespace probe::snmp {

/// What the tables of a device say, role by role. A role is nothing where a table that it needs was not answered.

/// One interface for each row. One without a name is called after its index: "if7".
TableReading<InterfaceReading> ReadInterfaces(const Profile& profile, DeviceTables& tables);

/// One radio for each name: of several rows the first that gives a figure counts, and clients are added.
TableReading<RadioReading> ReadRadios(const Profile& profile, DeviceTables& tables);

/// One SSID interface for each name, likewise. One without a name is called after its SSID, and its radio, or else its
/// BSSID: "guest (2.4 GHz)". Clients are by the device's count, whatever the profile takes for the truth.
TableReading<SsidReading> ReadSsids(const Profile& profile, DeviceTables& tables);

/// One station for each MAC address: the first row counts.
TableReading<StationReading> ReadStations(const Profile& profile, DeviceTables& tables,
                                          const TableReading<SsidReading>& ssids);

/// One user for each MAC address, likewise.
TableReading<PortalUserReading> ReadPortalUsers(const Profile& profile, DeviceTables& tables);

/// One access point for each row.
TableReading<vexora_probe::models::controller::NeighboringAP> ReadNeighbours(const Profile& profile,
                                                                             DeviceTables& tables);

/// Sets the client counts by what the profile takes for the truth. Stations that cannot be had leave them unknown.
void CountClients(ClientTruth truth, const TableReading<StationReading>& stations, std::vector<SsidReading>& ssids);

}  // namespace probe::snmp
