#pragma once

#include <memory>

#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_store.h"

namespace vexora_probe::monitor {

/// The report with a record for each sample of the day, as the debug lines of a pass tell of it: what `reports` holds,
/// and what `store` keeps of samples and devices.
///
/// A pass folds it sample by sample for its lines alone, while somebody reads them; days and weeks come from the sums.
/// It takes 2 MB an access point. Samples have the counters of the latest two; device weeks are left out.
std::unique_ptr<NetworkReport> DebugReport(const NetworkReport& reports, const SampleStore& store);

}  // namespace vexora_probe::monitor
