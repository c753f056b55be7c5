#pragma once

#include <cstdint>
#include <string>

#include "platform/device_records.h"
#include "probe/host/device_centre.h"

namespace bench {

/// Access points with two SSIDs on two interfaces, and `clients_each` clients each. The constructor and the destructor
/// empty the device centre.
class WirelessNetwork {
 public:
  WirelessNetwork(std::int64_t access_points, int clients_each) {
    probe::DeviceCentre::Instance().Clear();
    for (std::int64_t number = 0; number < access_points; ++number) {
      probe::DeviceCentre::Instance().Replace(Mac(number), AccessPoint(number, clients_each));
    }
  }
  ~WirelessNetwork() { probe::DeviceCentre::Instance().Clear(); }
  WirelessNetwork(const WirelessNetwork&) = delete;
  WirelessNetwork& operator=(const WirelessNetwork&) = delete;

  static std::string Mac(std::int64_t number) { return "AA:AA:AA:AA:" + std::to_string(number); }

 private:
  static probe::DeviceSnapshot AccessPoint(std::int64_t number, int clients) {
    probe::DeviceSnapshot snapshot;
    snapshot.is_wireless = true;
    snapshot.basic_info->hostname = "ap-" + std::to_string(number);
    snapshot.basic_info->type = vexora_probe::models::controller::DeviceType::kAccessPoint;
    snapshot.ssid_interfaces["wlan0"].ssid = "Office";
    snapshot.ssid_interfaces["wlan1"].ssid = "Guest";
    for (int client = 0; client < clients; ++client) {
      auto& interface = snapshot.ssid_interfaces[client % 2 == 0 ? "wlan0" : "wlan1"];
      interface.clients.emplace_back().mac = std::to_string(number) + "-" + std::to_string(client);
      ++interface.client_count;
    }
    for (int heard = 0; heard < 5; ++heard) snapshot.neighbours.emplace_back().mac = std::to_string(heard);
    return snapshot;
  }
};

}  // namespace bench
