#pragma once

#include <string>

#include "probe/sources/snmp/reading.h"

namespace probe::snmp {

/// A reading for people: the device in a few lines, then its interfaces, radios, SSIDs, stations, portal users, access
/// points around, and errors, one a line. What is not known is "-"; octets that are no printable ASCII are written as
/// "\xff".
std::string ReadingText(const Reading& reading);

}  // namespace probe::snmp
