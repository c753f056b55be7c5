#pragma once

#include <prometheus/metric_family.h>

#include <cstddef>
#include <vector>

#include "probe/host/device_centre.h"

namespace probe::metrics {

/// Samples of devices in one answer, at most: devices beyond that are left out, whole, and counted. A network of a
/// thousand switches with fifty ports each has as many.
inline constexpr std::size_t kMaxDeviceSamples = 250'000;

/// Appends what the newest snapshots tell: of devices, their interfaces, radios and SSIDs, and how many series the
/// plug-in makes of them. Nothing in it names a client, or tells one from another.
///
/// An offline device has its names and that it is offline only: what was last read is no longer so.
/// While the journal is replayed the counters of octets are left out: they have not gone on yet from those of the run
/// before, and would fall and leap.
/// Threads: any. No lock is held while families are built.
void AppendDevices(DeviceCentre& centre, bool is_warming, std::vector<prometheus::MetricFamily>& families,
                   std::size_t max_samples = kMaxDeviceSamples);

}  // namespace probe::metrics
