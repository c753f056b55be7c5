#pragma once

#include <string>

#include "probe/sources/this_machine/machine_reading.h"

namespace probe {

/// The MAC that is this machine's device id, in the notation of `format_macaddress`.
///
/// The address of the first network card by ifIndex; without a card, of the first other link that has one; without any,
/// a locally administered address made from the machine id (or from the host name, where there is no id), which is the
/// same at every start. The loopback is not considered.
/// Source: IEEE Std 802-2014, 8.2 (universal and local addresses).
std::string DeviceMac(const MachineReading& reading);

}  // namespace probe
