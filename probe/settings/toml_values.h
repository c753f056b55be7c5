#pragma once

#include <optional>

#include "probe/settings/setting_keys.h"
#include "probe/text/toml.h"

namespace probe {

/// The value of a node, for the types that keys have; nothing for another type.
std::optional<SettingValue> ValueOf(const toml::node& node);

}  // namespace probe
