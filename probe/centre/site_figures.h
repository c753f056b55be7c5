#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "probe/centre/sites.h"
#include "probe/metrics/told_devices.h"

namespace probe::centre {

/// The speeds of an interface in one pass.
struct InterfaceSpeed {
  std::string interface;     ///< Its display name.
  std::uint64_t input = 0;   ///< Bytes per second that it received.
  std::uint64_t output = 0;  ///< Bytes per second that it sent.
};

/// Those of a device.
struct DeviceSpeeds {
  std::string device;
  std::vector<InterfaceSpeed> interfaces;
};

/// Clients that a device lists on an SSID.
struct ListedClients {
  std::string device;
  std::string ssid;
  std::int64_t clients = 0;
};

/// What the newest texts of a site say in figures.
struct SiteFigures {
  std::string version;  ///< Of the probe; empty: not known.
  std::optional<double> clock_speed;
  std::optional<bool> is_history_ready;
  std::optional<double> last_pass;  ///< Seconds since the epoch, by the probe's clock.
  std::vector<metrics::DeviceFigures> devices;
  std::vector<ListedClients> ssids;
  std::optional<time_t> measured_at;  ///< The minute of the pass whose speeds these are; nothing: there are none.
  std::vector<DeviceSpeeds> speeds;

  /// Samples that are made of them, at most.
  std::size_t MaxSamples() const;
};

/// Reads the texts of a site. What is not as its topic's schema has it, and a text that is older than others by more
/// than `SiteSummary::kAwayAfter`, says nothing.
///
/// Of traffic it takes the samples of the newest pass alone, and of devices that are online: the plug-in repeats the
/// last ones of those that are not.
SiteFigures ReadSiteFigures(const Sites::Known& site);

}  // namespace probe::centre
