#include "probe/app/removed_devices.h"

#include <utility>

#include "probe/host/log.h"
#include "probe/host/memory_cleanup.h"

namespace probe {

RemovedDevices::RemovedDevices(DeviceCentre& centre, std::function<bool()> are_all_known,
                               std::function<void(const std::string& mac)> on_removed)
    : centre_(centre), are_all_known_(std::move(are_all_known)), on_removed_(std::move(on_removed)) {}

void RemovedDevices::OnReplayed() {
  is_pending_ = true;
  Check();
}

void RemovedDevices::Check() {
  if (!is_pending_ || !are_all_known_()) return;
  is_pending_ = false;
  for (const std::string& mac : centre_.NamedFrom(0)) {
    if (centre_.Snapshot(mac) != nullptr) continue;
    log::Info("device %s is in the journal and not in the configuration: it is shown no longer", mac.c_str());
    // Not as a clean-up that the journal hears of: it keeps what it has of the device.
    CallMemoryCleanup(mac);
    on_removed_(mac);
  }
}

}  // namespace probe
