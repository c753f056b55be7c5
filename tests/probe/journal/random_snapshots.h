#pragma once

#include <random>
#include <string>

#include "probe/host/device_snapshot.h"

namespace test {

/// A snapshot of a device about which anything may be known, from few names, so that two of them have some in common.
probe::DeviceSnapshot RandomSnapshot(std::mt19937_64& random);

/// Changes some of what is known, as the next reading of a device does.
void ChangeAtRandom(std::mt19937_64& random, probe::DeviceSnapshot& snapshot);

/// A number below `limit`.
std::uint64_t Below(std::mt19937_64& random, std::uint64_t limit);

}  // namespace test
