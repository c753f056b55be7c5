#pragma once

#include <string>
#include <vector>

#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_entry.h"

namespace probe::snmp {

/// The keys that say how a raw value is decoded.
const std::vector<std::string>& DecodingKeys();

/// Takes one of these keys over; others are none of its business.
void ReadDecodingKey(const ProfileEntry& entry, Decoding& decoding);

/// Refuses keys of `entry` that have no effect beside the others. `is_mac`: the value is a MAC address anyway.
void CheckDecoding(const ProfileEntry& entry, const Decoding& decoding, bool is_mac);

}  // namespace probe::snmp
