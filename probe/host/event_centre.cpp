#include "platform/event_centre.h"

#include "probe/host/device_centre.h"

namespace vexora_probe::inventory {

evcenter::Summary GetDeviceHealthTargetStateSummary(const std::string& mac) {
  const auto snapshot = probe::DeviceCentre::InForce().Snapshot(mac);
  return snapshot == nullptr ? evcenter::Summary{} : snapshot->notifications;
}

}  // namespace vexora_probe::inventory
