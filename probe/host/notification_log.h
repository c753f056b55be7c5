#pragma once

#include <cstddef>
#include <ctime>
#include <deque>
#include <string>
#include <vector>

#include "probe/host/device_details.h"

namespace probe {

/// A notification that holds no longer.
struct PastNotification {
  std::string mac;  ///< Of its device.
  Notification notification;
  time_t until = 0;  ///< When it was found to hold no longer, by the probe's clock.
};

/// Has notifications that were open before hold since the time that was told then.
void KeepTimes(const std::vector<Notification>& before, std::vector<Notification>& open);

/// The newest notifications that hold no longer, of all devices. Those that are open stand in the snapshots.
///
/// Threads: none of its own, no lock.
class NotificationLog {
 public:
  /// When there are more, the oldest goes.
  static constexpr std::size_t kMaxPast = 500;

  /// Compares what a device has open at `now` with what it had before; equal texts are one notification.
  void Note(const std::string& mac, const std::vector<Notification>& before, const std::vector<Notification>& open,
            time_t now);

  /// The device is known no longer.
  void Forget(const std::string& mac);
  void Clear() { past_.clear(); }

  /// In the order in which they ended.
  const std::deque<PastNotification>& past() const { return past_; }

 private:
  std::deque<PastNotification> past_;
};

}  // namespace probe
