#pragma once

#include <memory>

#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_settings.h"

namespace probe {

/// The profiles that there are; none where no device needs one.
///
/// Threads: any. Fails: throws `SettingsError` for devices whose profile does not exist, and `snmp::ProfileError` for
///        profiles that are wrong.
std::unique_ptr<snmp::ProfileCatalogue> ProfilesFor(const snmp::SnmpSettings& settings);

}  // namespace probe
