#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/device_records.h"
#include "platform/event_centre.h"
#include "probe/host/device_details.h"
#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/moment.h"

namespace probe::simulated {

/// What a device's load follows from.
struct LoadCauses {
  vexora_probe::models::controller::DeviceType type = vexora_probe::models::controller::DeviceType::kUnknown;
  std::size_t device = 0;               ///< Its number in the floor plan.
  std::int32_t uptime = 0;              ///< Seconds.
  std::size_t clients = 0;              ///< Associated with it.
  std::uint64_t octets_per_second = 0;  ///< Through all its ports.
  std::size_t rogue_neighbours = 0;     ///< Rogue access points that it hears.
  bool refuses_login = false;           ///< Its password was changed.
};

/// How a device is doing.
struct DeviceLoad {
  std::int32_t cpu = 0;                           ///< Percent; -1 for a device that refuses the login.
  std::int32_t uptime = 0;                        ///< Seconds; -1 likewise.
  std::int32_t health = 0;                        ///< 1 to 4, greater is worse.
  vexora_probe::evcenter::Summary notifications;  ///< How many are open.
  std::vector<Notification> open;                 ///< They themselves.
};

/// The load of a device in this minute: it grows with clients and traffic, is high after a start and peaks at times.
DeviceLoad LoadOf(const Dice& dice, const LoadCauses& causes, const Moment& moment);

}  // namespace probe::simulated
