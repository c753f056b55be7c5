#pragma once

#include <memory>
#include <string>

#include "platform/device_centre.h"

namespace monitoring {

/// The device of this MAC; null when it is unknown or has no driver, so that nothing is collected from it.
///
/// Threads: any.
std::shared_ptr<Device> DeviceWithDriver(const std::string& mac);

/// Whether the device's driver supports wireless; false without a driver.
bool IsWireless(const Device& device);

/// The device of this MAC; null when it is unknown, has no driver, or has one that does not support wireless.
std::shared_ptr<Device> WirelessDevice(const std::string& mac);

/// The host name of the managed device of this MAC; empty when there is none.
std::string DeviceName(const std::string& mac);

}  // namespace monitoring
