#include "tests/plugin/storm_network.h"

#include <memory>

#include "platform/device_records.h"

namespace storm {
namespace {

namespace records = vexora_probe::models::controller;

constexpr const char* kWifi = "wlan0";
constexpr const char* kSsid = "Office";
constexpr const char* kRadio = "radio0";

int Draw(std::mt19937& random, int sides) {
  return std::uniform_int_distribution<int>(0, sides - 1)(random);
}

std::shared_ptr<const records::TrafficStats> Counted(int device, const std::string& interface, time_t now) {
  const std::uint64_t octets = RateOf(device, interface) * static_cast<std::uint64_t>(now - kStart);
  return std::make_shared<records::TrafficStats>(
      records::TrafficStats{.if_index = IfIndexOf(interface), .in_bytes = octets, .out_bytes = octets});
}

void AddWireless(int device, time_t now, std::mt19937& random, probe::DeviceSnapshot& state) {
  state.is_wireless = true;
  state.radios[kRadio].band = records::WIFIBandType::k5GHz;
  auto& network = state.ssid_interfaces[kWifi];
  network.ssid = kSsid;
  network.radio = kRadio;
  network.traffic = Counted(device, "5Ghz - Office", now);
  const std::uint64_t octets = kClientRate * static_cast<std::uint64_t>(now - kStart);
  for (int client = Draw(random, kMaxClients + 1); client > 0; --client) {
    network.clients.push_back({.mac = "CC:00:00:00:0" + std::to_string(device) + ":0" + std::to_string(client),
                               .hostname = "client",
                               .mode = records::WIFIOpMode::k802_11n,
                               .data_rate = 300,
                               .in_bytes = octets,
                               .out_bytes = octets});
  }
  network.client_count = static_cast<std::int32_t>(network.clients.size());
  auto interface = std::make_shared<records::InterfaceState>();
  interface->traffic = network.traffic;
  state.interfaces[kWifi] = std::move(interface);
  state.ssid_config["Office@BOTH"].name = kSsid;
  for (int heard = Draw(random, kMaxRogues + 1); heard > 0; --heard) {
    state.neighbours.push_back({.mac = "EE:00:00:00:00:0" + std::to_string(heard), .ssid = "Next Door", .signal = -60});
  }
}

}  // namespace

std::string MacOf(int device) {
  return "AA:00:00:00:00:0" + std::to_string(device);
}

int DeviceOf(const std::string& mac) {
  for (int device = 0; device < kDevices; ++device) {
    if (mac == MacOf(device)) return device;
  }
  return -1;
}

int IfIndexOf(const std::string& interface) {
  if (interface == "5Ghz - Office") return kPorts + 1;
  for (int port = 1; port <= kPorts; ++port) {
    if (interface == "ge" + std::to_string(port)) return port;
  }
  return 0;
}

std::uint64_t RateOf(int device, const std::string& interface) {
  return static_cast<std::uint64_t>(1'000 * (device + 1) * IfIndexOf(interface));
}

probe::DeviceSnapshot StateOf(int device, time_t now, std::mt19937& random) {
  probe::DeviceSnapshot state;
  state.sample_time = now;
  state.polling_time = now;
  state.online = Draw(random, 10) != 0;
  state.driver = Draw(random, 20) != 0;
  state.cpu = Draw(random, 101);
  state.uptime = Draw(random, 3'600);
  state.health_level = 1 + Draw(random, 4);
  state.basic_info->mac = MacOf(device);
  state.basic_info->hostname = "device";
  state.basic_info->type = device < kAccessPoints ? records::DeviceType::kAccessPoint : records::DeviceType::kSwitch;
  state.platform_info = records::PlatformInfo{.model = "M", .version = "1"};
  state.credential_json = R"({"credential": "ok"})";
  for (int port = 1; port <= kPorts; ++port) {
    if (Draw(random, 10) == 0) continue;
    const std::string name = "ge" + std::to_string(port);
    auto interface = std::make_shared<records::InterfaceState>();
    interface->traffic = Counted(device, name, now);
    state.interfaces[name] = std::move(interface);
  }
  if (device < kAccessPoints) AddWireless(device, now, random, state);
  return state;
}

}  // namespace storm
