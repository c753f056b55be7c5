#include "monitor/engine/devices.h"

namespace monitoring {

std::shared_ptr<Device> DeviceWithDriver(const std::string& mac) {
  auto device = DeviceManager::GetInstance().device(mac);
  return device != nullptr && device->driver() != nullptr ? device : nullptr;
}

bool IsWireless(const Device& device) {
  const auto driver = device.driver();
  return driver != nullptr && driver->IsWirelessSupported();
}

std::shared_ptr<Device> WirelessDevice(const std::string& mac) {
  auto device = DeviceManager::GetInstance().device(mac);
  return device != nullptr && IsWireless(*device) ? device : nullptr;  // false without a driver, too
}

std::string DeviceName(const std::string& mac) {
  const auto device = DeviceManager::GetInstance().device(mac);
  return device == nullptr ? std::string() : device->basic_info().hostname;
}

}  // namespace monitoring
