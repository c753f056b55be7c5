#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/stop_event.h"

namespace probe::snmp {

/// Polls one device, again and again.
///
/// Owner:   the poller. Threads: one at a time. Fails: never throws, but for `std::bad_alloc`.
class DevicePoll {
 public:
  virtual ~DevicePoll() = default;

  /// Reads the device once, at the latest until `deadline`.
  virtual PollResult Poll(std::chrono::steady_clock::time_point deadline) = 0;
};

/// Polls a device in the network: recognises its profile with the first answer, then reads what the profile names.
///
/// `catalogue` and `stop` have to outlive it.
std::unique_ptr<DevicePoll> MakeDevicePoll(const DeviceSettings& settings, const ProfileCatalogue& catalogue,
                                           const StopEvent& stop);

}  // namespace probe::snmp
