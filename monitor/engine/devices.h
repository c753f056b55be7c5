#pragma once

#include <memory>
#include <string>

#include "platform/device_centre.h"

namespace monitoring {

/// The device of this MAC, if something is to be collected from it: null when it is unknown or has no driver.
///
/// Threads: any.
std::shared_ptr<Device> DeviceWithDriver(const std::string& mac);

/// Whether there is a wireless side to collect from, by the word of the device's driver; false without a driver.
bool IsWireless(const Device& device);

/// The same as `DeviceWithDriver` for what is collected from wireless devices only: null as well when the driver denies
/// a wireless side.
std::shared_ptr<Device> WirelessDevice(const std::string& mac);

/// The host name of the managed device of this MAC; empty when there is none.
std::string DeviceName(const std::string& mac);

}  // namespace monitoring
