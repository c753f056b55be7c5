#pragma once

#include <nlohmann/json_fwd.hpp>

#include "probe/device_centre/device_snapshot.h"

namespace probe {

/// The snapshot that the recorded state of a device describes. What is absent has its default.
///
/// Fails: throws `MalformedRecording` for a member that is unknown or of the wrong type.
DeviceSnapshot SnapshotOf(const nlohmann::json& state);

/// The recorded state that describes `snapshot`: members that have their default are left out.
nlohmann::json StateOf(const DeviceSnapshot& snapshot);

}  // namespace probe
