#pragma once

#include <string>
#include <vector>

#include "probe/settings/settings_errors.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/text/toml.h"

namespace probe {

/// Adds the devices of a list `[[sources.snmp.devices]]` to `devices`; those with an error are left out.
///
/// Reads the files that hold secrets. `${CREDENTIALS_DIRECTORY}` in the name of one stands for the folder in which the
/// service manager puts credentials.
/// Fails: adds what is wrong to `errors`, never with a secret in the text.
void ReadSnmpDevices(const toml::node& list, SettingsErrors& errors, std::vector<snmp::DeviceSettings>& devices);

/// What an example of the configuration file says about the list, as comments.
std::string DescribeSnmpDevices();

}  // namespace probe
