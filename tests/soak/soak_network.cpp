#include "tests/soak/soak_network.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "platform/device_records.h"
#include "probe/host/device_centre.h"
#include "probe/host/memory_cleanup.h"

namespace soak {
namespace {

namespace records = vexora_probe::models::controller;
using probe::DeviceCentre;

constexpr std::size_t kAccessPoints = 12;
constexpr std::size_t kSwitches = 6;
constexpr std::size_t kRouters = 2;
constexpr std::uint64_t kFirstSwitch = 0x10'0000;
constexpr std::uint64_t kFirstRouter = 0x20'0000;
constexpr std::uint64_t kClients = 80;
constexpr std::uint64_t kLeavingClients = 4;  // each week
constexpr int kPorts = 24;

bool IsAccessPoint(std::uint64_t device) {
  return device < kFirstSwitch;
}
bool IsSwitch(std::uint64_t device) {
  return device >= kFirstSwitch && device < kFirstRouter;
}

std::string Numbered(const char* format, std::uint64_t number) {
  char text[32];
  std::snprintf(text, sizeof text, format, static_cast<unsigned>(number >> 16U) & 0xFFU,
                static_cast<unsigned>(number >> 8U) & 0xFFU, static_cast<unsigned>(number) & 0xFFU);
  return text;
}

/// Octets that something which sends at a steady rate has counted since 1970.
std::uint64_t Counted(std::uint64_t what, time_t now) {
  return static_cast<std::uint64_t>(now) * (1000 + what * 7919 % 90'000);
}

std::shared_ptr<const records::TrafficStats> TrafficOf(std::uint64_t what, int if_index, time_t now) {
  return std::make_shared<records::TrafficStats>(
      records::TrafficStats{.if_index = if_index, .in_bytes = Counted(what, now), .out_bytes = Counted(what + 1, now)});
}

records::AssocClientState ClientOf(std::uint64_t client, time_t now) {
  return {.mac = Numbered("AC:00:00:%02X:%02X:%02X", client),
          .hostname = "client-" + std::to_string(client),
          .mode = records::WIFIOpMode::k802_11a,
          .data_rate = 300,
          .in_bytes = Counted(client, now),
          .out_bytes = Counted(client + 3, now)};
}

}  // namespace

Network::Network() {
  DeviceCentre::Instance().Clear();
  for (std::uint64_t number = 0; number < kAccessPoints; ++number) access_points_.push_back(number);
  for (std::uint64_t number = 0; number < kSwitches; ++number) switches_.push_back(kFirstSwitch + number);
}

std::vector<std::uint64_t> Network::Devices() const {
  std::vector<std::uint64_t> devices(access_points_.begin(), access_points_.end());
  devices.insert(devices.end(), switches_.begin(), switches_.end());
  for (std::uint64_t number = 0; number < kRouters; ++number) devices.push_back(kFirstRouter + number);
  return devices;
}

std::string Network::MacOf(std::uint64_t device) {
  return Numbered("DE:00:00:%02X:%02X:%02X", device);
}

void Network::Report(time_t now) {
  for (const std::uint64_t device : Devices()) DeviceCentre::Instance().Replace(MacOf(device), Snapshot(device, now));
}

void Network::Churn() {
  for (auto* const devices : {&access_points_, &switches_}) {
    const std::uint64_t gone = devices->front();
    DeviceCentre::Instance().Forget(MacOf(gone));
    probe::CleanUpDevice(MacOf(gone));
    ++removed_;
    devices->pop_front();
    devices->push_back(devices->back() + 1);
  }
  first_client_ += kLeavingClients;
}

probe::DeviceSnapshot Network::Snapshot(std::uint64_t device, time_t now) const {
  probe::DeviceSnapshot snapshot;
  snapshot.sample_time = now;
  snapshot.polling_time = now;
  snapshot.cpu = static_cast<std::int32_t>((device + static_cast<std::uint64_t>(now) / 60) % 100);
  snapshot.uptime = 3600;
  snapshot.health_level = 1;
  snapshot.basic_info->hostname = "device-" + std::to_string(device);
  const int ports = IsSwitch(device) ? kPorts : 2;
  for (int port = 1; port <= ports; ++port) {
    auto state = std::make_shared<records::InterfaceState>();
    state->traffic = TrafficOf(device * 100 + static_cast<std::uint64_t>(port), port, now);
    snapshot.interfaces["ge" + std::to_string(port)] = std::move(state);
  }
  if (IsAccessPoint(device)) AddWireless(device, now, snapshot);
  return snapshot;
}

void Network::AddWireless(std::uint64_t device, time_t now, probe::DeviceSnapshot& snapshot) const {
  snapshot.is_wireless = true;
  snapshot.radios["2.4Ghz"].band = records::WIFIBandType::k2_4GHz;
  snapshot.radios["5Ghz"].band = records::WIFIBandType::k5GHz;
  std::uint64_t interface_number = 0;
  for (const char* radio : {"2.4Ghz", "5Ghz"}) {
    for (const char* ssid : {"Office", "Guests"}) {
      auto& interface = snapshot.ssid_interfaces[std::string(radio) + "-" + ssid];
      interface.ssid = ssid;
      interface.radio = radio;
      interface.traffic = TrafficOf(device * 100 + 50 + interface_number, 0, now);
      // Clients walk from one access point to the next, and have all been everywhere within the week.
      const std::uint64_t turn = device * 4 + interface_number++ + static_cast<std::uint64_t>(now) / 3600;
      for (std::uint64_t client = 0; client < kClients; ++client) {
        if ((client + turn) % 48 == 0) interface.clients.push_back(ClientOf(first_client_ + client, now));
      }
      interface.client_count = static_cast<std::int32_t>(interface.clients.size());
      snapshot.ssid_config[std::string(ssid) + "@" + radio].name = ssid;
    }
  }
  for (std::uint64_t heard = 0; heard < 5; ++heard) {
    snapshot.neighbours.push_back({.mac = Numbered("BE:00:00:%02X:%02X:%02X", first_client_ + heard),
                                   .ssid = "Next Door",
                                   .trusted = 0,
                                   .band = records::WIFIBandType::k2_4GHz,
                                   .channel = 6,
                                   .signal = -60});
  }
}

}  // namespace soak
