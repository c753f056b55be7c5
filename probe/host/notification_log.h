#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <deque>
#include <map>
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

/// The most notifications that one device can have open.
inline constexpr std::size_t kMaxOpenNotifications = 100;

/// The longest text of a notification, in octets, mark included.
inline constexpr std::size_t kMaxNotificationOctets = 500;

/// Bounds what a device has to say: a text that is too long is cut, between characters when it is UTF-8, and ends with
/// "…"; of too many notifications the most urgent stay, of equally urgent ones the first.
void BoundNotifications(std::vector<Notification>& open);

/// Has notifications that were open before hold since the time that was told then.
void KeepTimes(const std::vector<Notification>& before, std::vector<Notification>& open);

/// The newest notifications of each device that hold no longer. Those that are open stand in the snapshots.
///
/// Threads: none of its own, no lock.
class NotificationLog {
 public:
  /// When a device has more, its oldest goes.
  static constexpr std::size_t kMaxPastPerDevice = 50;

  /// Compares what a device has open at `now` with what it had before; equal texts are one notification.
  void Note(const std::string& mac, const std::vector<Notification>& before, const std::vector<Notification>& open,
            time_t now);

  /// The device is known no longer.
  void Forget(const std::string& mac) { past_.erase(mac); }
  void Clear() { past_.clear(); }

  /// Those of all devices, in the order in which they ended.
  std::vector<PastNotification> Past() const;

 private:
  struct Ended {
    std::uint64_t place = 0;  // in the order in which they ended
    Notification notification;
    time_t until = 0;
  };

  std::uint64_t next_place_ = 0;
  std::map<std::string, std::deque<Ended>> past_;  // without devices that have none
};

}  // namespace probe
