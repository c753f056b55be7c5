#pragma once

#include <cstdint>
#include <ctime>
#include <list>
#include <map>
#include <string>

namespace monitoring {

/// One speed sample of one interface.
struct Traffic {
  time_t time = 0;           ///< End of the interval: pass time, seconds since the epoch, host clock.
  std::uint64_t input = 0;   ///< Bytes per second received by the interface, mean over the interval, rounded down.
  std::uint64_t output = 0;  ///< Bytes per second sent by the interface, likewise.
};

/// The data that the traffic monitor keeps, and the plain functions over it.
namespace traffic {

/// What the display name of one interface is made of.
struct AttributeInfo {
  std::string interface_name;  ///< The device's own name, until `GenerateNewInterfaceName` makes it the display name.
  std::string ssid;            ///< Empty for an interface without a wireless network.
  int radio = -1;              ///< 0 for the 2.4 GHz band, 1 for the 5 GHz band, others are unknown.
};

/// The octet counters of one interface at one reading.
struct Counters {
  std::uint64_t in = 0;   ///< Octets received since the counter restarted.
  std::uint64_t out = 0;  ///< Octets sent, likewise.

  friend bool operator==(const Counters&, const Counters&) = default;
};

/// The same as texts: "inbytes" and "outbytes" -> decimal text of an unsigned 64-bit octet counter.
using Attributes = std::map<std::string, std::string>;
using InterfaceAttributes = std::map<std::string, Attributes>;        ///< Interface display name -> its counters.
using DeviceAttributes = std::map<std::string, InterfaceAttributes>;  ///< Device MAC -> its interfaces.

inline constexpr const char* kInBytes = "inbytes";
inline constexpr const char* kOutBytes = "outbytes";

using History = std::list<Traffic>;                                 ///< Oldest first.
using InterfaceHistories = std::map<std::string, History>;          ///< Interface display name -> its history.
using DeviceHistories = std::map<std::string, InterfaceHistories>;  ///< Device MAC -> its interfaces.
using Views = std::map<std::string, DeviceHistories>;               ///< View name -> its devices.

using InterfaceIndexes = std::map<std::string, int>;            ///< Interface display name -> ifIndex.
using DeviceIndexes = std::map<std::string, InterfaceIndexes>;  ///< Device MAC -> its interfaces.

}  // namespace traffic
}  // namespace monitoring
