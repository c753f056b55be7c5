#pragma once

#include <string>
#include <string_view>

namespace probe {

/// The one notation of a numeric IP address, so that two can be compared as texts: "0:0::1" gives "::1", and the
/// IPv4-mapped "::ffff:127.0.0.1" gives "127.0.0.1".
///
/// Fails:   an empty text for what is no numeric address, also for one with a zone ("fe80::1%eth0").
/// Source:  RFC 5952.
std::string CanonicalAddress(std::string_view text);

/// The addresses that one client can take at will, as one name: all of 127.0.0.0/8, and an IPv6 address with its whole
/// /64. Any other IPv4 address stands alone.
///
/// Fails: gives back as it is what is no numeric address.
std::string AddressGroup(const std::string& address);

}  // namespace probe
