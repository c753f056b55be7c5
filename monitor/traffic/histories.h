#pragma once

#include <cstddef>
#include <ctime>
#include <string>

#include "monitor/traffic/speed_history.h"
#include "monitor/traffic/traffic_collect.h"
#include "monitor/traffic/traffic_records.h"

namespace monitoring::traffic {

/// Appends an interface's first sample to a history of the "1m" view, whatever its length: see `kMaxSamples`.
void AppendFirst(History& history, const Traffic& sample);

/// Appends a sample to a history of the "1m" view, and drops the oldest when there are then more than `kMaxSamples`.
void AppendMinute(History& history, const Traffic& sample);

/// Drops samples later than `now` from the front of a history, up to the first that is not, and returns how many: what
/// a history needs after the clock was set back.
std::size_t DropFutureSamples(History& history, time_t now);

/// Moves every history of `old_name` that exists, also one without samples, to `new_name`, in place of what stood
/// there. Histories of `new_name` in views where `old_name` has none stay.
void RenameInterface(DeviceRecord& device, const std::string& old_name, const std::string& new_name);

/// Whether an interface of this name has a history in any view, also one without samples.
bool HasHistory(const DeviceRecord& device, const std::string& name);

/// Makes a reading, which is sorted by name, the latest one of a device.
///
/// Interfaces that it lacks keep their histories and their ifIndex. Fails: with `std::bad_alloc`, and then the device
/// keeps the reading before.
void StoreReading(DeviceRecord& device, const Reading& reading);

/// Makes the latest reading of a device, in the pass of `now`, the last one, and shows its ifIndexes. Records without
/// counters and histories go.
void StoreAsLast(DeviceRecord& device, time_t now);

/// Appends to `target` the mean of the newest `count` samples of `source`, stamped `now`: if there are so many, and if
/// the newest one is at least `minutes` whole minutes of the clock later than the newest one of the target. A target
/// without samples takes its first one as soon as there are enough.
void AppendAverage(const History& source, int count, int minutes, time_t now, History& target);

}  // namespace monitoring::traffic
