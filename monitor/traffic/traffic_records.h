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

using History = std::list<Traffic>;                                 ///< Oldest first.
using InterfaceHistories = std::map<std::string, History>;          ///< Interface display name -> its history.
using DeviceHistories = std::map<std::string, InterfaceHistories>;  ///< Device MAC -> its interfaces.
using Views = std::map<std::string, DeviceHistories>;               ///< View name -> its devices.

using InterfaceIndexes = std::map<std::string, int>;            ///< Interface display name -> ifIndex.
using DeviceIndexes = std::map<std::string, InterfaceIndexes>;  ///< Device MAC -> its interfaces.

}  // namespace traffic
}  // namespace monitoring
