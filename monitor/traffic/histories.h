#pragma once

#include <cstddef>
#include <ctime>
#include <string>

#include "monitor/traffic/traffic_records.h"

namespace monitoring::traffic {

/// Appends a sample to a history of the "1m" view, and drops the oldest when there are then more than `kMaxSamples`.
void AppendMinute(History& history, const Traffic& sample);

/// Drops samples later than `now` from the front of a history, up to the first that is not, and returns how many: what
/// a history needs after the clock was set back.
std::size_t DropFutureSamples(History& history, time_t now);

/// Moves the history of `old_name`, if there is one, to `new_name`, in place of what stood there. An empty history
/// replaces nothing: an interface that had no SSID for a minute keeps the longer views of its display name.
void RenameInterface(InterfaceHistories& histories, const std::string& old_name, const std::string& new_name);

/// Appends to each history of `target` the mean of the newest `count` samples of its history in `source`, stamped
/// `now`: for those that have so many samples, and whose newest one is at least `minutes` whole minutes of the clock
/// later than the newest one of the target. A target without samples takes its first one as soon as there are enough;
/// until then it is there, but empty.
void AppendAverages(const DeviceHistories& source, int count, int minutes, time_t now, DeviceHistories& target);

}  // namespace monitoring::traffic
