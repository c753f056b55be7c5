#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "monitor/reports/network/network_collect.h"
#include "monitor/reports/network/network_store.h"

namespace vexora_probe::monitor {

/// Notes what a device tells of its networks at a minute, to be folded together with what the other devices tell.
///
/// All memory that `FoldStagedSamples` needs is taken here, so that nothing can cut it short: a pass that runs out of
/// memory here has counted nothing yet. Of a network that the device lists twice the latter counts.
void StageSamples(const std::string& mac, const std::vector<NetworkReading>& readings, std::int64_t minute,
                  SampleStore& store);

}  // namespace vexora_probe::monitor
