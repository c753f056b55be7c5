#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/moment.h"

namespace probe::simulated {

/// A stretch of the local calendar in which an access point is without power. Units: calendar minutes.
struct Outage {
  std::int64_t begins = 0;  ///< Included.
  std::int64_t ends = 0;    ///< Not included: at this minute the device starts.
};

/// When devices start, stop and come back.
///
/// Twice a week, between Monday and Wednesday and again on Thursday or Friday, one access point loses its power in
/// working hours for 20 to 90 minutes; in a large network one in fifty more does. Every device is restarted for
/// maintenance in about one night of six weeks, except one that nobody can log in to. The last access point has a bad
/// power supply and restarts by itself on every other working day.
///
/// Threads: any; nothing in it changes.
class DeviceLife {
 public:
  /// The last start of a device that has not started in the last four weeks.
  static constexpr std::int64_t kLongAgo = std::numeric_limits<std::int64_t>::min();

  /// Both have to outlive the object.
  DeviceLife(const Dice& dice, const FloorPlan& plan) : dice_(dice), plan_(plan) {}

  /// Whether the device has power.
  bool IsOnline(std::size_t device, const Moment& moment) const;

  /// The calendar minute of the latest start of the device; `kLongAgo` when that was more than four weeks ago.
  std::int64_t LastStart(std::size_t device, const Moment& moment) const;

  /// Uptime of a device whose last start is `kLongAgo`, when it is read for the first time. Units: seconds.
  std::int32_t UptimeOfOldDevice(std::size_t device) const;

 private:
  /// The outage of the access point in one half of the week, if it has one. Half 0 is Monday to Wednesday, half 1
  /// Thursday and Friday.
  std::optional<Outage> OutageIn(std::size_t access_point, std::int64_t week, int half) const;
  std::int64_t LastStartIn(std::size_t device, std::int64_t week, std::int64_t until) const;
  std::int64_t LastFlakyStart(std::size_t device, std::int64_t week, std::int64_t until) const;

  const Dice& dice_;
  const FloorPlan& plan_;
};

}  // namespace probe::simulated
