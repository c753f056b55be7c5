#include "probe/sources/simulated/wireless_networks.h"

#include "platform/device_records.h"

namespace probe::simulated {
namespace {

namespace records = vexora_probe::models::controller;
using records::SecModeType;

records::SSIDCfg Configuration(std::size_t network, SecModeType security) {
  records::SSIDCfg configuration;
  configuration.name = kWirelessNetworks[network].ssid;
  configuration.security_mode = security;
  configuration.guest = kWirelessNetworks[network].guest;
  return configuration;
}

std::string Key(std::size_t network, const std::string& radio) {
  return std::string(kWirelessNetworks[network].ssid) + "@" + radio;
}

}  // namespace

std::string SsidInterfaceName(std::size_t radio, std::size_t network) {
  return "wlan" + std::to_string(radio) + "." + std::to_string(network);
}

SSIDConfigurations WirelessConfiguration() {
  const std::string both = "BOTH";
  return {
      // One network with two security modes, by radio: old scanners know a passphrase and 2.4 GHz only.
      {Key(kOffice, kRadioNames[kLowBand]), Configuration(kOffice, SecModeType::kWpaPersonal)},
      {Key(kOffice, kRadioNames[kHighBand]), Configuration(kOffice, SecModeType::kWpaEnterprise)},
      {Key(kStaff, both), Configuration(kStaff, SecModeType::kWpaPersonal)},
      {Key(kWelcome, both), Configuration(kWelcome, SecModeType::kNone)},
  };
}

}  // namespace probe::simulated
