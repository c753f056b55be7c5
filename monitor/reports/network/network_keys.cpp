#include "monitor/reports/network/network_keys.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "monitor/engine/time_keys.h"
#include "platform/device_records.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

using models::controller::SecModeType;

constexpr const char* kSeparator = "|";

/// The number at the beginning of a text; 0 when there is none.
std::int32_t LeadingNumber(const std::string& text) {
  constexpr int kDecimal = 10;
  return static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, kDecimal));
}

}  // namespace

std::string MinuteKey(long time) {
  return std::to_string(monitoring::time_keys::Minute(time));
}

std::string SSIDKey(const std::string& name, SecModeType mode, bool guest) {
  return name + kSeparator + std::to_string(static_cast<std::int32_t>(mode)) + kSeparator + (guest ? "1" : "0");
}

std::string SSIDKeyWithRadio(const std::string& ssid_key, const std::string& radio_type) {
  return ssid_key + kSeparator + radio_type;
}

std::string SSIDKeyWithRadio(const NetworksAttr& network) {
  return SSIDKeyWithRadio(SSIDKey(network.name, network.security_mode, network.guest != 0), network.radio_type);
}

void RemoveRadioTypeFromSSIDKey(const std::string& ssid_key, const HostFunctions& host, std::string& out) {
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::RemoveRadioTypeFromSSIDKey] ssid_key: %s",
                 ssid_key.c_str());
  const std::size_t last = ssid_key.rfind(kSeparator);
  if (last != std::string::npos) out = ssid_key.substr(0, last);
}

// The log lines name GetSSIDNameFromKey: their text is fixed.
bool GetAttributeFromKey(const std::string& ssid_key, const HostFunctions& host, std::string& name, SecModeType& mode,
                         bool& guest) {
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetSSIDNameFromKey] ssid_key: %s", ssid_key.c_str());
  // From the right, because the name on the left may hold the separator itself.
  const std::size_t before_guest = ssid_key.rfind(kSeparator);
  if (before_guest == std::string::npos) return false;
  guest = LeadingNumber(ssid_key.substr(before_guest + 1)) != 0;
  if (before_guest == 0) return false;
  const std::size_t before_mode = ssid_key.rfind(kSeparator, before_guest - 1);
  if (before_mode == std::string::npos) return false;
  mode = static_cast<SecModeType>(LeadingNumber(ssid_key.substr(before_mode + 1)));
  name = ssid_key.substr(0, before_mode);
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetSSIDNameFromKey] ssid name: %s, mode: %d, guest: %d",
                 name.c_str(), static_cast<int>(mode), guest ? 1 : 0);
  return true;
}

}  // namespace vexora_probe::monitor
