#pragma once

#include <string>
#include <utility>
#include <vector>

/// Names that devices and people give. The hostile ones hold NUL, octets that are no UTF-8, separators of keys, and
/// words that messages use themselves.
namespace history::names {

using Texts = std::vector<std::string>;

const Texts& Macs();
const Texts& HostileMacs();
const Texts& Interfaces();
const Texts& HostileInterfaces();
const Texts& Ssids();
const Texts& HostileSsids();
const Texts& Radios();
const Texts& Hosts();
const Texts& Users();
const Texts& ClientMacs();
const Texts& HostileClientMacs();
const Texts& Views();
const Texts& Credentials();

/// BSSID and SSID.
const std::vector<std::pair<std::string, std::string>>& Rogues();
const std::vector<std::pair<std::string, std::string>>& HostileRogues();

}  // namespace history::names
