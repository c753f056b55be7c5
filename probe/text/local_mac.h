#pragma once

#include <string>
#include <string_view>

namespace probe {

/// A MAC for a device that has none to show: made from `seed`, individual and locally administered, the same at every
/// start. In the notation of `format_macaddress`.
///
/// Source: IEEE Std 802-2014, 8.2 (universal and local addresses).
std::string LocalMac(std::string_view seed);

}  // namespace probe
