#pragma once

#include <memory>
#include <string>

#include "platform/configuration.h"
#include "platform/device_records.h"

namespace monitoring {

/// The configurations of one device, lent by the host; never null.
using SharedConfigurations = std::shared_ptr<const SSIDConfigurations>;

/// None.
SharedConfigurations NoConfigurations();

/// The SSID configurations of a device: those of a router or of an access point. Empty for any other type, and for a
/// device that has no configuration.
///
/// Threads: any.
SharedConfigurations ConfigurationsOf(const std::string& mac, vexora_probe::models::controller::DeviceType type);

/// The configuration of an SSID on a radio: the one for this radio before the one for both. Null when there is neither.
///
/// `radio` is the radio's name. Owner: the record stays in `configurations`.
const vexora_probe::models::controller::SSIDCfg* ConfigurationFor(const SSIDConfigurations& configurations,
                                                                  const std::string& ssid, const std::string& radio);

}  // namespace monitoring
