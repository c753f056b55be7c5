#include "probe/sources/snmp/wireless_words.h"

#include <cmath>

namespace probe::snmp {

using vexora_probe::models::controller::WIFIBandType;
using vexora_probe::models::controller::WIFIOpMode;

namespace {

/// Channels are numbered by steps of 5 MHz from the band's starting frequency.
constexpr double kStep = 5;

constexpr double kFirst2 = 2412;
constexpr double kLast2 = 2472;
constexpr double kStart2 = 2407;
constexpr double kChannel14 = 2484;

constexpr double kFirst5 = 5160;
constexpr double kLast5 = 5895;
constexpr double kStart5 = 5000;

constexpr double kFirst6 = 5935;
constexpr double kLast6 = 7115;
constexpr double kStart6 = 5950;

bool IsBetween(double number, double least, double greatest) {
  return number >= least && number <= greatest;
}

}  // namespace

std::optional<std::int32_t> ChannelOfFrequency(double megahertz) {
  const auto channel = [&](double start) {
    return static_cast<std::int32_t>(std::lround((megahertz - start) / kStep));
  };
  if (megahertz == kChannel14) return 14;
  if (IsBetween(megahertz, kFirst2, kLast2)) return channel(kStart2);
  if (IsBetween(megahertz, kFirst5, kLast5)) return channel(kStart5);
  if (megahertz == kFirst6) return 2;  // the one channel below the start
  if (IsBetween(megahertz, kStart6 + kStep, kLast6)) return channel(kStart6);
  return std::nullopt;
}

WIFIBandType BandOfFrequency(double megahertz) {
  if (IsBetween(megahertz, kFirst2, kChannel14)) return WIFIBandType::k2_4GHz;
  if (IsBetween(megahertz, kFirst5, kLast5)) return WIFIBandType::k5GHz;
  return WIFIBandType::kUnknown;
}

WIFIBandType BandOfChannel(std::int32_t channel) {
  constexpr std::int32_t kLastChannel2 = 14;
  constexpr std::int32_t kFirstChannel5 = 32;
  constexpr std::int32_t kLastChannel5 = 179;
  if (channel >= 1 && channel <= kLastChannel2) return WIFIBandType::k2_4GHz;
  if (channel >= kFirstChannel5 && channel <= kLastChannel5) return WIFIBandType::k5GHz;
  return WIFIBandType::kUnknown;
}

WIFIBandType BandOfText(std::string_view text) {
  if (text == "2.4 GHz") return WIFIBandType::k2_4GHz;
  if (text == "5 GHz") return WIFIBandType::k5GHz;
  return WIFIBandType::kUnknown;
}

WIFIOpMode ModeOfText(std::string_view text) {
  if (text == "802.11a") return WIFIOpMode::k802_11a;
  if (text == "802.11b") return WIFIOpMode::k802_11b;
  if (text == "802.11g") return WIFIOpMode::k802_11g;
  if (text == "802.11n") return WIFIOpMode::k802_11n;
  if (text == "802.11ac") return WIFIOpMode::k802_11ac;
  return static_cast<WIFIOpMode>(-1);
}

}  // namespace probe::snmp
