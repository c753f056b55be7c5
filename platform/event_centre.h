#pragma once

#include <cstdint>
#include <string>

namespace vexora_probe::evcenter {

/// How many notifications are open for one device.
struct Summary {
  std::int32_t info = 0;     ///< Informational ones.
  std::int32_t warning = 0;  ///< Warnings.
  std::int32_t alert = 0;    ///< Alerts.
};

}  // namespace vexora_probe::evcenter

namespace vexora_probe::inventory {

/// The plug-in calls the host.
///
/// The open notifications of a device.
///
/// Threads: any. Does not call back into the plug-in, nor wait for a thread that may be inside it.
/// Fails:   zeroes for a device that nobody knows.
evcenter::Summary GetDeviceHealthTargetStateSummary(const std::string& mac);

}  // namespace vexora_probe::inventory
