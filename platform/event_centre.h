#pragma once

#include <cstdint>
#include <string>

namespace vexora_probe::evcenter {

/// How many notifications are open for one device. A fresh record has none.
struct Summary {
  std::int32_t info = 0;     ///< Informational notifications.
  std::int32_t warning = 0;  ///< Warnings: somebody should look when there is time.
  std::int32_t alert = 0;    ///< Alerts: somebody should look now.
};

}  // namespace vexora_probe::evcenter

namespace vexora_probe::inventory {

/// Counts the open notifications of a device. The plug-in calls the host.
///
/// `mac` is a device id as `DeviceManager` gives it.
///
/// Threads: any. Must not call back into the plug-in, nor wait for the network or for a thread that may be inside the
///          plug-in.
/// Fails:   zeroes for an unknown device; never throws.
evcenter::Summary GetDeviceHealthTargetStateSummary(const std::string& mac);

}  // namespace vexora_probe::inventory
