#pragma once

#include <cstdint>
#include <ctime>
#include <random>
#include <string>

#include "probe/host/device_snapshot.h"

/// The network of the storm. Whatever happens to a device, its counters keep to their rates, so that whoever sees a
/// message can tell what may stand in it.
namespace storm {

inline constexpr int kAccessPoints = 4;
inline constexpr int kDevices = 8;  ///< The others are switches.
inline constexpr int kPorts = 3;
inline constexpr int kMaxClients = 5;                ///< On one access point.
inline constexpr int kMaxRogues = 2;                 ///< That one access point hears.
inline constexpr time_t kStart = 1'795'219'200;      // 2026-11-21 00:00:00 UTC, a Saturday
inline constexpr std::uint64_t kClientRate = 1'024;  ///< Octets per second of every wireless client, each way.

std::string MacOf(int device);

/// The device of this MAC; -1 when there is none.
int DeviceOf(const std::string& mac);

/// Octets per second that an interface sends and receives, by its display name; 0 for a name that no interface has.
std::uint64_t RateOf(int device, const std::string& interface);

/// The ifIndex of an interface, by its display name.
int IfIndexOf(const std::string& interface);

/// A state that the device may be in at this moment: online or not, with or without some of its ports and clients.
probe::DeviceSnapshot StateOf(int device, time_t now, std::mt19937& random);

}  // namespace storm
