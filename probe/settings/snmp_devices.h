#pragma once

#include <string>
#include <vector>

#include "probe/settings/settings_errors.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/text/toml.h"

namespace probe {

/// The devices of the list `[[sources.snmp.devices]]`; those with an error are left out.
///
/// Reads the files that hold secrets. `${CREDENTIALS_DIRECTORY}` in the name of one stands for the folder in which the
/// service manager puts credentials.
/// Fails: adds what is wrong to `errors`, never with a secret in the text.
std::vector<snmp::DeviceSettings> ReadSnmpDevices(const toml::node& list, SettingsErrors& errors);

/// What an example of the configuration file says about the list, as comments.
std::string DescribeSnmpDevices();

}  // namespace probe
