#pragma once

#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "probe/host/device_snapshot.h"

namespace test {

/// A pass of a random history, what sources report before it, and what is cleaned up after it.
struct HistoryStep {
  time_t at = 0;
  std::vector<std::pair<std::string, std::shared_ptr<const probe::DeviceSnapshot>>> changes;  ///< Null: forgotten.
  std::vector<std::string> clean_ups;
};

/// What happens in a small company's network from some evening on: midnights, ends of weeks and of summer time, clocks
/// that are set, devices that restart, come, go and tell odd things.
struct RandomHistory {
  time_t start = 0;
  std::vector<HistoryStep> steps;
};

/// The history of this seed, in the local time zone.
RandomHistory MakeHistory(std::mt19937_64::result_type seed, std::size_t steps);

}  // namespace test
