#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/device_records.h"

namespace probe::snmp {

/// The channel of a centre frequency in MHz; nothing outside the bands. Source: IEEE Std 802.11, annex E.
std::optional<std::int32_t> ChannelOfFrequency(double megahertz);

/// The band of a centre frequency in MHz.
vexora_probe::models::controller::WIFIBandType BandOfFrequency(double megahertz);

/// The band of a channel, taken for one of the two common ones: 6 GHz numbers its channels anew.
vexora_probe::models::controller::WIFIBandType BandOfChannel(std::int32_t channel);

/// The band of "2.4 GHz" and "5 GHz".
vexora_probe::models::controller::WIFIBandType BandOfText(std::string_view text);

/// The mode of "802.11a", "802.11b", "802.11g", "802.11n" and "802.11ac"; -1 for others.
vexora_probe::models::controller::WIFIOpMode ModeOfText(std::string_view text);

}  // namespace probe::snmp
