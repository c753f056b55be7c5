#pragma once

#include "probe/host/device_snapshot.h"
#include "probe/journal/delta_octets.h"

namespace probe::journal {

/// Whether two snapshots tell the same of a device.
bool AreSame(const DeviceSnapshot& left, const DeviceSnapshot& right);

/// Writes what changes `before` into `now`. Against a fresh snapshot that is the whole of `now`.
void WriteDelta(const DeviceSnapshot& before, const DeviceSnapshot& now, OctetWriter& out);

/// Changes `snapshot` as a delta says.
///
/// Fails: throws `MalformedJournal`; the snapshot is then of no use.
void ApplyDelta(OctetReader& in, DeviceSnapshot& snapshot);

}  // namespace probe::journal
