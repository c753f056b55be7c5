#pragma once

#include <vector>

#include "probe/settings/setting_keys.h"

namespace probe {

/// The keys of `[uplink]`, by which a probe sends to a stream of NATS servers.
std::vector<SettingKey> UplinkKeys();

/// The keys of `[stream]`, by which a centre reads it.
std::vector<SettingKey> StreamKeys();

}  // namespace probe
