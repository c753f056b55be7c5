#pragma once

#include <ctime>
#include <map>
#include <memory>
#include <string>

#include "monitor/traffic/traffic_records.h"
#include "platform/device_centre.h"

namespace monitoring::traffic {

/// Interface name, as the device has it -> its counters.
using InterfaceStatistics =
    std::map<std::string, std::shared_ptr<const vexora_probe::models::controller::TrafficStats>>;

/// What one device reports of its interfaces.
struct Reading {
  time_t sampled_at = 0;           ///< When, by the device's clock; tells one reading from the next.
  InterfaceStatistics statistics;  ///< Of the interfaces that are measured.
};

/// Reads the interfaces of a device that are measured: in operation, with statistics, and with a name that is neither
/// empty nor a plain number. Each is logged at debug level.
Reading ReadInterfaces(const std::string& mac, const Device& device);

/// Reads which wireless network an interface carries, and on which radio. Logged at debug level.
AttributeInfo ReadAttributeInfo(const Device& device, const std::string& interface);

}  // namespace monitoring::traffic
