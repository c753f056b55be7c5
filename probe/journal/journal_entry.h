#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "probe/host/device_snapshot.h"

namespace probe::journal {

/// What a device reported since the pass before.
struct DeviceChange {
  std::size_t place = 0;                           ///< Among the devices as first named.
  std::shared_ptr<const DeviceSnapshot> snapshot;  ///< Null: the device was forgotten.
};

/// A pass, and what it found changed. The first of a segment finds every device that is known.
struct PassEntry {
  time_t at = 0;                        ///< The pass time.
  std::uint32_t cost_microseconds = 0;  ///< Processor time of the pass before; 0: none is known.
  std::vector<std::string> named;     ///< MACs that take the next places; in the first entry of a segment all of them.
  std::vector<DeviceChange> changes;  ///< By place.
};

/// The plug-in was told that a device was removed.
struct CleanUpEntry {
  time_t at = 0;
  std::string mac;
};

using Entry = std::variant<PassEntry, CleanUpEntry>;

}  // namespace probe::journal
