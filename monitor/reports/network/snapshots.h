#pragma once

#include <string>

#include "monitor/reports/network/network_records.h"

/// The samples of a day, of all devices together: by SSID, by access point, by band. The same pass builds them anew
/// from the devices' samples.
namespace vexora_probe::monitor {

/// Sums clients and speeds by SSID key.
DaySamples SumBySSID(const DeviceDaySamples& devices);

/// Sums clients and speeds by device MAC.
DaySamples SumByAccessPoint(const DeviceDaySamples& devices);

/// Sums clients and speeds by band.
DaySamples SumBySpectrum(const DeviceDaySamples& devices);

}  // namespace vexora_probe::monitor
