#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/engine/view_chain.h"
#include "monitor/traffic/speed_history.h"
#include "platform/topics.h"

/// The data that the traffic monitor keeps, and the plain functions over it.
///
/// An interface has one record: its display name, the counters of the latest and of the last reading as numbers, its
/// ifIndex, and a history for each of the six views, whose buffers grow with their samples. The records of a device
/// stand in one array, sorted by name, and devices are sorted by MAC. A reading comes sorted by name too, so that one
/// walk over both finds the record of each interface, and a pass over known interfaces allocates nothing. A record goes
/// when it has neither counters nor histories, and all of a device's go with the device.
namespace monitoring::traffic {

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

/// The views by the number under which a record keeps their histories.
inline constexpr std::array<const char*, kViewChain.size() + 1> kViewNames{kView1m, kView5m, kView10m,
                                                                           kView1h, kView2h, kView1day};
inline constexpr std::size_t kMinuteView = 0;
inline constexpr std::size_t kDayView = kViewNames.size() - 1;

/// The number of the view of this name; nothing for a name that no view has.
std::optional<std::size_t> ViewNumber(std::string_view name);

/// One interface of a device.
struct InterfaceRecord {
  Counters latest;                   ///< Of the newest reading that has the interface.
  Counters last;                     ///< Of the reading of the pass before; only valid if `has_last`.
  std::uint32_t reading = 0;         ///< The number of the reading that `latest` is from; 0 for none.
  std::int32_t if_index = 0;         ///< Kept for an interface that disappeared, for its histories are, too.
  std::int32_t latest_if_index = 0;  ///< Of the reading of `latest`; shown when that is folded.
  bool has_last = false;             ///< The pass before had counters of the interface.
  std::array<History, kViewNames.size()> histories;  ///< By the number of the view.
  std::string name;                                  ///< The display name.
};

/// An interface that got another display name.
struct Rename {
  std::string old_name;
  std::string new_name;
};

/// One device.
struct DeviceRecord {
  std::vector<InterfaceRecord> interfaces;  ///< Sorted by name; a name occurs once.
  std::uint32_t reading = 0;                ///< The number of the latest reading, counted from 1; 0 before the first.
  std::size_t read_interfaces = 0;          ///< Interfaces in the latest reading.
  std::vector<Rename> renames;              ///< That the latest reading brought, in order; made when it is folded.
  time_t sample_time = 0;                   ///< Device clock at the latest reading.
  time_t last_sample_time = 0;              ///< Device clock at the reading of the pass before; 0 when there is none.
  time_t last_polling_time = 0;             ///< Time of the pass before; 0 when there is none.
  std::array<bool, kViewNames.size()> is_in_view{};  ///< By the number of the view.

  /// Whether the latest reading has counters of an interface of this device.
  bool HasLatest(const InterfaceRecord& interface) const { return reading != 0 && interface.reading == reading; }
};

using Devices = std::map<std::string, DeviceRecord, std::less<>>;  ///< By device MAC.

/// The record of the interface of this display name; null when there is none. `device` keeps it.
InterfaceRecord* FindInterface(DeviceRecord& device, std::string_view name);
const InterfaceRecord* FindInterface(const DeviceRecord& device, std::string_view name);

/// The record of the interface of this display name, made when there is none. Other records may be moved.
InterfaceRecord& FindOrAddInterface(DeviceRecord& device, const std::string& name);

}  // namespace monitoring::traffic
