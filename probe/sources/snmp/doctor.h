#pragma once

#include <string>

#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_settings.h"

namespace probe::snmp {

/// What is to be said about a device.
struct Diagnosis {
  bool answers = false;
  std::string text;  ///< Lines, each with its line feed.
};

/// Polls a device once and tells all about it: why it does not answer, or which profile it is read with, why, and what
/// is read. A device that is silent with version 1 or 2c is also asked, without any secret, whether it knows version 3:
/// that tells a wrong community from a wrong address.
///
/// Threads: any; waits for the network. Fails: never throws, but for `std::bad_alloc`.
Diagnosis Diagnose(const DeviceSettings& settings, const ProfileCatalogue& catalogue, const RequestTimes& times = {});

}  // namespace probe::snmp
