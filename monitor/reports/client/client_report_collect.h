#pragma once

#include <string>
#include <vector>

#include "monitor/reports/client/client_report_records.h"

namespace monitoring::client_report {

/// The clients of a device, network by network: all clients of an ordinary network, and those of a guest network that
/// the portal knows by name.
///
/// A network without configuration is left out and logged at error level. Empty for a device that is unknown, has no
/// driver, no wireless side, no SSID or radio interfaces or no SSID configuration.
std::vector<Sighting> ReadClients(const std::string& mac);

}  // namespace monitoring::client_report
