#pragma once

#include <nlohmann/json_fwd.hpp>

#include "probe/host/device_snapshot.h"

namespace probe::recording {

/// The recorded state that describes `snapshot`, so that `SnapshotOf` gives the same again. Texts other than SSIDs are
/// taken as they are: what is not UTF-8 in them has to be replaced by whoever writes the state down.
nlohmann::ordered_json StateOf(const DeviceSnapshot& snapshot);

}  // namespace probe::recording
