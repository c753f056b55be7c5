#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "platform/device_records.h"

namespace monitoring {

/// The clients of one SSID on one device at the latest collection.
struct clientCountStruct {
  std::int32_t count = 0;  ///< Clients associated.
  std::int32_t spare = 0;  ///< Kept for the layout of the record.
};

namespace clientcount {

/// Minute since the epoch -> number of clients. Of a device or of an SSID.
using Series = std::map<int, int>;

using SeriesById = std::map<std::string, Series>;  // device MAC or SSID -> its series
using Views = std::map<std::string, SeriesById>;   // view -> series
using Totals = Series;                             // several series, summed minute by minute
using CountById = std::map<std::string, std::int32_t>;

/// Counts of the latest collection: device MAC -> SSID, or SSID -> device MAC.
using CurrentCounts = std::map<std::string, std::map<std::string, clientCountStruct>>;

/// Every pair of device and SSID that was ever counted, as one map inside the other; the text is always empty.
using Pairs = std::map<std::string, std::map<std::string, std::string>>;

/// Interface name -> (SSID -> the clients associated). Of one device.
using InterfaceClients =
    std::map<std::string, std::map<std::string, std::list<vexora_probe::models::controller::AssocClientState>>>;

}  // namespace clientcount
}  // namespace monitoring
