#pragma once

#include <cstdint>

#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_store.h"

/// The fold of a pass: adds the staged samples to the sums of the day, and writes days and weeks from these. It takes
/// time with the number of networks, and not with that of their samples.
///
/// Additions of reals come in one order, which decides the last bits: within a minute devices by MAC and networks by
/// key, then minute after minute; in a week day after day.
namespace vexora_probe::monitor {

/// Adds what was staged for this minute to the devices' days, and to the minute of the three families.
void FoldStagedSamples(std::int64_t minute, SampleStore& store) noexcept;

/// Writes today and this week of every ID of a family. When its week is due, makes the records of today, finishes past
/// days, drops an eighth one, and builds the week anew from its days.
///
/// Returns whether the week was built: its records, and new ones of today, have no names yet.
bool FoldSums(const ReportTime& time, FamilySums& family, Report& report);

}  // namespace vexora_probe::monitor
