#include "tests/support/network.h"

#include <memory>
#include <utility>

#include "platform/device_records.h"
#include "platform/event_centre.h"
#include "probe/host/device_centre.h"

namespace test {
namespace records = vexora_probe::models::controller;
using DeviceWords = Network::DeviceWords;

Network::Network() {
  probe::DeviceCentre::Instance().Clear();
}

Network::~Network() {
  probe::DeviceCentre::Instance().Clear();
}

DeviceWords Network::Switch(const std::string& mac) {
  devices_[mac].state.basic_info->type = records::DeviceType::kSwitch;
  return {*this, mac};
}

DeviceWords Network::AccessPoint(const std::string& mac) {
  devices_[mac].state.basic_info->type = records::DeviceType::kAccessPoint;
  devices_[mac].state.is_wireless = true;
  return {*this, mac};
}

DeviceWords Network::Router(const std::string& mac) {
  devices_[mac].state.basic_info->type = records::DeviceType::kRouter;
  devices_[mac].state.is_wireless = true;
  return {*this, mac};
}

DeviceWords::DeviceWords(Network& network, std::string mac) : network_(network), mac_(std::move(mac)) {
  Tell();
}

probe::DeviceSnapshot& DeviceWords::State() {
  return network_.devices_[mac_].state;
}

DeviceWords& DeviceWords::Tell() {
  probe::DeviceCentre::Instance().Replace(mac_, State());
  return *this;
}

int DeviceWords::IndexOf(const std::string& port) {
  auto& indexes = network_.devices_[mac_].indexes;
  return indexes.try_emplace(port, static_cast<int>(indexes.size()) + 1).first->second;
}

DeviceWords& DeviceWords::Named(const std::string& hostname) {
  State().basic_info->hostname = hostname;
  return Tell();
}

DeviceWords& DeviceWords::Address(const std::string& ip) {
  State().basic_info->ip = ip;
  return Tell();
}

DeviceWords& DeviceWords::Port(const std::string& name, Octets octets) {
  State().interfaces[name] = std::make_shared<records::InterfaceState>(
      records::InterfaceState{.oper_status = records::kOperStatusUp,
                              .traffic = std::make_shared<records::TrafficStats>(records::TrafficStats{
                                  .if_index = IndexOf(name), .in_bytes = octets.in, .out_bytes = octets.out})});
  return Tell();
}

DeviceWords& DeviceWords::PortDown(const std::string& name, Octets octets) {
  Port(name, octets);
  auto down = *State().interfaces[name];
  down.oper_status = 2;
  State().interfaces[name] = std::make_shared<records::InterfaceState>(down);
  return Tell();
}

DeviceWords& DeviceWords::PortWithoutStatistics(const std::string& name) {
  State().interfaces[name] = std::make_shared<records::InterfaceState>();
  return Tell();
}

DeviceWords& DeviceWords::PortWithoutState(const std::string& name) {
  State().interfaces[name] = nullptr;
  return Tell();
}

DeviceWords& DeviceWords::WithoutPort(const std::string& name) {
  State().interfaces.erase(name);
  return Tell();
}

DeviceWords& DeviceWords::Wifi(const std::string& name, const std::string& ssid, const std::string& radio,
                               Octets octets) {
  Port(name, octets);
  records::SSIDIfState& carrier = State().ssid_interfaces[name];
  carrier.ssid = ssid;
  carrier.radio = radio;
  carrier.traffic = State().interfaces[name]->traffic;
  return Tell();
}

DeviceWords& DeviceWords::WifiWithoutStatistics(const std::string& name, const std::string& ssid,
                                                const std::string& radio) {
  PortWithoutStatistics(name);
  State().ssid_interfaces[name] = {.ssid = ssid, .radio = radio, .traffic = nullptr, .client_count = 0, .clients = {}};
  return Tell();
}

DeviceWords& DeviceWords::WithoutWifi(const std::string& name) {
  State().ssid_interfaces.erase(name);
  return WithoutPort(name);
}

DeviceWords& DeviceWords::Radio(const std::string& name, records::WIFIBandType band) {
  State().radios[name].band = band;
  return Tell();
}

DeviceWords& DeviceWords::Client(const std::string& wifi, const records::AssocClientState& client) {
  records::SSIDIfState& carrier = State().ssid_interfaces[wifi];
  carrier.clients.push_back(client);
  carrier.client_count = static_cast<std::int32_t>(carrier.clients.size());
  return Tell();
}

DeviceWords& DeviceWords::Clients(const std::string& wifi, int count) {
  records::SSIDIfState& carrier = State().ssid_interfaces[wifi];
  carrier.clients.clear();
  for (int number = 1; number <= count; ++number) {
    records::AssocClientState& client = carrier.clients.emplace_back();
    client.mac = wifi + "-client-" + std::to_string(number);
  }
  carrier.client_count = count;
  return Tell();
}

DeviceWords& DeviceWords::CountedBy(const std::string& wifi, int count) {
  State().ssid_interfaces[wifi].client_count = count;
  return Tell();
}

DeviceWords& DeviceWords::PortalUser(const std::string& client_mac, const records::PortalUser& user) {
  State().portal_users[client_mac] = user;
  return Tell();
}

DeviceWords& DeviceWords::WithoutPortalUser(const std::string& client_mac) {
  State().portal_users.erase(client_mac);
  return Tell();
}

DeviceWords& DeviceWords::Configured(const std::string& key, const records::SSIDCfg& configuration) {
  State().ssid_config[key] = configuration;
  return Tell();
}

DeviceWords& DeviceWords::Neighbours(const std::list<records::NeighboringAP>& neighbours) {
  State().neighbours = neighbours;
  return Tell();
}

DeviceWords& DeviceWords::PolledAt(time_t moment) {
  State().polling_time = moment;
  return Tell();
}

DeviceWords& DeviceWords::Wireless(bool is_wireless) {
  State().is_wireless = is_wireless;
  return Tell();
}

DeviceWords& DeviceWords::Platform(const std::string& model, const std::string& version) {
  State().platform_info = records::PlatformInfo{.model = model, .version = version};
  return Tell();
}

DeviceWords& DeviceWords::WithoutBasicInfo() {
  State().basic_info.reset();
  return Tell();
}

DeviceWords& DeviceWords::Cpu(std::int32_t percent) {
  State().cpu = percent;
  return Tell();
}

DeviceWords& DeviceWords::Uptime(std::int32_t seconds) {
  State().uptime = seconds;
  return Tell();
}

DeviceWords& DeviceWords::HealthLevel(std::int32_t level) {
  State().health_level = level;
  return Tell();
}

DeviceWords& DeviceWords::Notifications(const vexora_probe::evcenter::Summary& summary) {
  State().notifications = summary;
  return Tell();
}

DeviceWords& DeviceWords::SampledAt(time_t moment) {
  State().sample_time = moment;
  return Tell();
}

DeviceWords& DeviceWords::Online(bool is_online) {
  State().online = is_online;
  return Tell();
}

DeviceWords& DeviceWords::Known(bool is_known) {
  State().known = is_known;
  return Tell();
}

DeviceWords& DeviceWords::Driven(bool has_driver) {
  State().driver = has_driver;
  return Tell();
}

DeviceWords& DeviceWords::Credential(const std::string& json) {
  State().credential_json = json;
  return Tell();
}

}  // namespace test
