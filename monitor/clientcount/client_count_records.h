#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "monitor/clientcount/count_series.h"

namespace monitoring {

/// The clients of one SSID on one device at the latest collection.
struct clientCountStruct {
  std::int32_t count = 0;  ///< Clients associated.
  std::int32_t spare = 0;  ///< Kept for the layout of the record.
};

namespace clientcount {

using Series = CountSeries;
using SeriesById = std::map<std::string, Series>;  // device MAC or SSID -> its series
using Views = std::map<std::string, SeriesById>;   // view -> series
using Totals = Series;                             // several series, summed minute by minute
using CountById = std::map<std::string, std::int32_t>;

/// SSID -> its clients on one device.
using CountsOfDevice = std::map<std::string, clientCountStruct>;

/// Device MAC -> SSID -> its clients at the latest collection, for every pair that ever had one since its
/// device was last cleaned up; 0 for a pair that has none at present.
using Pairs = std::map<std::string, CountsOfDevice>;

/// Device MAC -> SSID -> its clients at the latest collection, without pairs that have none.
using CurrentCounts = std::map<std::string, CountsOfDevice>;

/// One SSID interface of a device.
struct InterfaceClients {
  std::string interface;    ///< Its name.
  std::string ssid;         ///< The SSID that it carries.
  std::size_t clients = 0;  ///< The clients associated.
};

}  // namespace clientcount
}  // namespace monitoring
