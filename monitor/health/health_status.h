#pragma once

#include <cstdint>
#include <string>

namespace monitoring {

/// `HealthStatus::cpu` of a device that gave no reading.
inline constexpr double kUnknownCpu = -1.0;

/// One device's health at its latest collection. Levels are 1 to 4; they are graded when a message is built.
struct HealthStatus {
  std::string deviceclass;           ///< What the device is, in words.
  std::string ip;                    ///< Management address; kept, but not shown.
  std::string hostname;              ///< Its name.
  std::string spare_text;            ///< Kept for the layout of the record.
  std::int32_t uptime = -1;          ///< Seconds since the device started; -1 when it is not known.
  std::int32_t uptime_level = 2;     ///< Level of `uptime`.
  std::int32_t clients = 0;          ///< Wireless clients associated.
  std::int32_t clients_level = 2;    ///< Level of `clients`.
  std::int32_t rogue_aps = 0;        ///< Neighbouring access points that the administrator does not trust.
  std::int32_t rogue_aps_level = 2;  ///< Level of `rogue_aps`.
  double cpu = kUnknownCpu;          ///< CPU use in percent; -1.0 when it is not known.
  std::int32_t cpu_level = 2;        ///< Level of `cpu`.
  std::int32_t info = 0;             ///< Open informational notifications.
  std::int32_t warning = 0;          ///< Open warnings.
  std::int32_t alert = 0;            ///< Open alerts.
  std::int32_t spare_level = 2;      ///< Kept for the layout of the record.
};

}  // namespace monitoring
