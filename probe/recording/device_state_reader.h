#pragma once

#include <nlohmann/json_fwd.hpp>

#include "probe/host/device_snapshot.h"

namespace probe::recording {

/// The snapshot that the recorded state of a device describes. What is absent has its default.
///
/// Fails: throws `MalformedRecording` for a member that is unknown or of the wrong type.
DeviceSnapshot SnapshotOf(const nlohmann::ordered_json& state);

}  // namespace probe::recording
