#pragma once

#include <map>
#include <string>

#include "monitor/traffic/traffic_fold.h"
#include "platform/device_records.h"

namespace monitoring::traffic {

/// The counters of one interface as texts: "inbytes" and "outbytes" -> decimal text of an unsigned
/// 64-bit octet counter.
using Attributes = std::map<std::string, std::string>;
using InterfaceAttributes = std::map<std::string, Attributes>;        ///< Interface display name -> its counters.
using DeviceAttributes = std::map<std::string, InterfaceAttributes>;  ///< Device MAC -> its interfaces.

inline constexpr const char* kInBytes = "inbytes";
inline constexpr const char* kOutBytes = "outbytes";

/// The counters of `statistics` as texts.
Attributes AttributesOf(const vexora_probe::models::controller::TrafficStats& statistics);

/// The counters that the texts hold. A text that is missing or no number counts as 0.
Counters CountersOf(const Attributes& attributes);

/// The text under a key; empty when there is none. The result lives as long as `attributes`.
const char* TextOf(const Attributes& attributes, const char* key);

}  // namespace monitoring::traffic
