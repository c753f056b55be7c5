#include "tests/plain/history/random_network.h"

#include <limits>
#include <memory>
#include <set>

#include "platform/device_records.h"
#include "probe/host/device_centre.h"
#include "tests/plain/history/names.h"

namespace history {
namespace records = vexora_probe::models::controller;
namespace {

constexpr int kMostDevices = 5;

/// So many of the values, or fewer, for one may be drawn twice.
template <typename Value>
std::vector<Value> Some(Dice& dice, int count, const std::vector<Value>& values) {
  std::set<Value> drawn;
  for (; count > 0; --count) drawn.insert(dice.OneOf(values));
  return {drawn.begin(), drawn.end()};
}

}  // namespace

RandomNetwork::RandomNetwork(Dice& dice, int unrest)
    : dice_(dice),
      unrest_(unrest),
      is_hostile_(dice.Percent(50)),
      is_wild_(is_hostile_ && dice.Percent(15)),
      macs_(Some(dice, 1 + dice.Below(kMostDevices), is_hostile_ ? names::HostileMacs() : names::Macs())),
      interfaces_(Some(dice, 6, is_hostile_ ? names::HostileInterfaces() : names::Interfaces())),
      ssids_(Some(dice, 4, is_hostile_ ? names::HostileSsids() : names::Ssids())),
      client_macs_(Some(dice, 6, is_hostile_ ? names::HostileClientMacs() : names::ClientMacs())),
      rogues_(Some(dice, 1 + dice.Below(4), is_hostile_ ? names::HostileRogues() : names::Rogues())) {
  probe::DeviceCentre::Instance().Clear();
}

RandomNetwork::~RandomNetwork() {
  probe::DeviceCentre::Instance().Clear();
}

void RandomNetwork::ChangePhase() {
  if (!dice_.Percent(2)) return;
  phase_ = dice_.OneOf<Phase>({Phase::kUsual, Phase::kUsual, Phase::kStill, Phase::kDeserted});
  if (phase_ != Phase::kDeserted) return;
  for (auto& [mac, device] : devices_) {
    for (auto& [name, wifi] : device.ssid_interfaces) {
      wifi.clients.clear();
      wifi.client_count = 0;
    }
  }
}

void RandomNetwork::Step(time_t now) {
  auto& centre = probe::DeviceCentre::Instance();
  ChangePhase();
  const bool is_new_scan = phase_ == Phase::kUsual && dice_.Percent(unrest_ / 2);
  const bool is_scan_of_one = dice_.Percent(40);  // heard by all of them, and trusted by some
  const auto one = dice_.OneOf(rogues_);
  for (const std::string& mac : macs_) {
    const bool is_new = !devices_.contains(mac);
    if (is_new) devices_[mac] = NewDevice(now);
    probe::DeviceSnapshot& device = devices_[mac];
    if (!is_new) Refresh(device, now);
    if (phase_ == Phase::kUsual && dice_.Percent(unrest_)) Change(device, now);
    if (is_new_scan) {  // all of them at once: who was heard by one is heard by another
      device.neighbours.clear();
      if (is_scan_of_one) {
        device.neighbours.push_back(
            {.mac = one.first, .ssid = one.second, .trusted = dice_.Below(2), .signal = -30 - dice_.Below(60)});
      } else {
        for (int count = dice_.Below(4); count > 0; --count) ChangeNeighbours(device);
      }
    }
    centre.Replace(mac, device);
    if (dice_.Percent(unrest_ / 8)) centre.Forget(mac);
    if (dice_.Percent(unrest_ / 20)) devices_.erase(mac);
  }
}

probe::DeviceSnapshot RandomNetwork::NewDevice(time_t now) {
  probe::DeviceSnapshot device;
  device.is_wireless = dice_.Percent(85);
  device.sample_time = now;
  device.polling_time = now;
  ChangeRadios(device);
  ChangeIdentity(device);
  device.basic_info->type = dice_.Percent(75) ? records::DeviceType::kAccessPoint : records::DeviceType::kRouter;
  for (int count = dice_.Below(4); count > 0; --count) ChangePort(device);
  for (int count = dice_.Below(5); count > 0; --count) ChangeWifi(device);
  for (int count = 0; count < 5; ++count) ChangeClients(device);
  for (int count = 0; count < 6; ++count) ChangeConfiguration(device);
  for (int count = dice_.Below(4); count > 0; --count) ChangeNeighbours(device);
  for (int count = 0; count < 4; ++count) ChangePortal(device);
  ChangeHealth(device);
  return device;
}

void RandomNetwork::Change(probe::DeviceSnapshot& device, time_t now) {
  using Kind = void (RandomNetwork::*)(probe::DeviceSnapshot&);
  static const std::vector<Kind> kinds{
      &RandomNetwork::ChangeStanding,   &RandomNetwork::ChangeIdentity,   &RandomNetwork::ChangeHealth,
      &RandomNetwork::ChangePort,       &RandomNetwork::ChangePort,       &RandomNetwork::ChangeWifi,
      &RandomNetwork::ChangeWifi,       &RandomNetwork::ChangeRadios,     &RandomNetwork::ChangeClients,
      &RandomNetwork::ChangeClients,    &RandomNetwork::ChangeClients,    &RandomNetwork::ChangeConfiguration,
      &RandomNetwork::ChangeNeighbours, &RandomNetwork::ChangeNeighbours, &RandomNetwork::ChangePortal,
  };
  for (int count = 1 + dice_.Below(3); count > 0; --count) (this->*dice_.OneOf(kinds))(device);
  // A device that says nothing of its clock was read at the moment of asking.
  if (dice_.Percent(2)) device.sample_time.reset();
  if (dice_.Percent(2)) device.polling_time.reset();
  if (dice_.Percent(2)) device = NewDevice(now);
}

/// What the host makes of a device; mostly it is there, known and has a driver.
void RandomNetwork::ChangeStanding(probe::DeviceSnapshot& device) {
  device.online = dice_.Percent(80);
  device.known = dice_.Percent(85);
  device.driver = dice_.Percent(85);
  if (dice_.Percent(20)) device.is_wireless = !device.is_wireless;
}

void RandomNetwork::ChangeIdentity(probe::DeviceSnapshot& device) {
  if (dice_.Percent(8)) {
    device.basic_info.reset();
  } else {
    if (!device.basic_info) device.basic_info = records::BasicInfo{};
    device.basic_info->hostname = dice_.OneOf(names::Hosts());
    if (dice_.Percent(15)) device.basic_info->type = static_cast<records::DeviceType>(dice_.Below(5));
  }
  if (dice_.Percent(50))
    device.platform_info = records::PlatformInfo{dice_.OneOf(names::Hosts()), "1." + std::to_string(dice_.Below(3))};
  if (dice_.Percent(10)) device.platform_info.reset();
}

void RandomNetwork::ChangeHealth(probe::DeviceSnapshot& device) {
  device.cpu = dice_.OneOf<std::int32_t>({-1, -1, -2, 0, 1, 19, 20, 21, 79, 80, 81, 100, 4000});
  device.uptime = dice_.OneOf<std::int32_t>({-1, 0, 299, 300, 301, 1799, 1800, 1801, 2'000'000'000});
  device.health_level = dice_.Below(6);
  device.notifications = {.info = dice_.Below(3), .warning = dice_.Below(3), .alert = dice_.Below(3) - 1};
  device.credential_json = dice_.OneOf(names::Credentials());
}

void RandomNetwork::ChangePort(probe::DeviceSnapshot& device) {
  const std::string& name = dice_.OneOf(interfaces_);
  const auto traffic = std::make_shared<records::TrafficStats>(records::TrafficStats{
      .if_index = dice_.Below(40) - 1, .in_bytes = Moved(0), .out_bytes = dice_.Percent(20) ? 0 : Moved(0)});
  records::InterfaceState state{.oper_status = 1, .traffic = traffic};
  const int kind = dice_.Below(12);
  if (kind == 0) state.oper_status = 2;
  if (kind == 1) state.traffic = nullptr;
  device.interfaces[name] = std::make_shared<records::InterfaceState>(state);
  if (kind == 2) device.interfaces[name] = nullptr;
  if (kind == 3) device.interfaces.erase(name);
}

/// An interface gets another network, or the same one on another radio, or none at all.
void RandomNetwork::ChangeWifi(probe::DeviceSnapshot& device) {
  const std::string& name = dice_.OneOf(interfaces_);
  if (dice_.Percent(12)) {
    device.ssid_interfaces.erase(name);
    return;
  }
  records::SSIDIfState& wifi = device.ssid_interfaces[name];
  wifi.ssid = dice_.OneOf(ssids_);
  wifi.radio = dice_.OneOf(names::Radios());
  if (wifi.traffic == nullptr || dice_.Percent(20)) {
    wifi.traffic = std::make_shared<records::TrafficStats>(
        records::TrafficStats{.if_index = dice_.Below(40), .in_bytes = Moved(0), .out_bytes = Moved(0)});
  }
  device.interfaces[name] =
      std::make_shared<records::InterfaceState>(records::InterfaceState{.oper_status = 1, .traffic = wifi.traffic});
  if (dice_.Percent(8)) wifi.traffic = nullptr;
}

void RandomNetwork::ChangeRadios(probe::DeviceSnapshot& device) {
  device.radios["r0"].band = records::WIFIBandType::k2_4GHz;
  device.radios["r1"].band = records::WIFIBandType::k5GHz;
  if (dice_.Percent(10))
    device.radios[dice_.OneOf(names::Radios())].band = static_cast<records::WIFIBandType>(dice_.Below(4) - 1);
  if (dice_.Percent(5)) device.radios.erase(dice_.OneOf(names::Radios()));
  if (dice_.Percent(3)) device.radios.clear();
}

records::AssocClientState RandomNetwork::NewClient() {
  records::AssocClientState client;
  client.mac = dice_.OneOf(client_macs_);
  client.hostname = dice_.OneOf(names::Hosts());
  client.mode = static_cast<records::WIFIOpMode>(dice_.Below(10));
  client.data_rate = dice_.Below(900) - 1;
  client.in_bytes = Moved(0);
  client.out_bytes = Moved(0);
  return client;
}

/// Clients come, go and roam; a device may count them otherwise than it lists them.
void RandomNetwork::ChangeClients(probe::DeviceSnapshot& device) {
  if (device.ssid_interfaces.empty()) return;
  const auto which =
      std::next(device.ssid_interfaces.begin(), dice_.Below(static_cast<int>(device.ssid_interfaces.size())));
  auto& clients = which->second.clients;
  const int kind = dice_.Below(10);
  if (kind < 5) clients.push_back(NewClient());
  if (kind == 5 && !clients.empty()) clients.pop_front();
  if (kind == 6) clients.clear();
  if (kind > 7 && !clients.empty()) {
    clients.front().hostname = dice_.OneOf(names::Hosts());
    clients.front().mode = static_cast<records::WIFIOpMode>(dice_.Below(10));
    clients.front().data_rate = dice_.Below(900);
  }
  if (kind == 7 && dice_.Percent(20)) clients.resize(static_cast<std::size_t>(47 + dice_.Below(4)), NewClient());
  which->second.client_count = static_cast<std::int32_t>(clients.size());
  if (dice_.Percent(10)) which->second.client_count = dice_.OneOf<std::int32_t>({-1, 0, 7, 2'000'000'000});
}

void RandomNetwork::ChangeConfiguration(probe::DeviceSnapshot& device) {
  const std::string ssid = dice_.OneOf(ssids_);
  const std::string key = ssid + "@" + (dice_.Percent(70) ? "BOTH" : dice_.OneOf(names::Radios()));
  if (dice_.Percent(10)) {
    device.ssid_config.erase(key);
    return;
  }
  device.ssid_config[key] = {
      .name = ssid, .security_mode = static_cast<records::SecModeType>(dice_.Below(6)), .guest = dice_.Percent(35)};
}

void RandomNetwork::ChangeNeighbours(probe::DeviceSnapshot& device) {
  if (dice_.Percent(8)) {
    device.neighbours.clear();
    return;
  }
  if (dice_.Percent(25) && !device.neighbours.empty()) {
    device.neighbours.pop_front();
    return;
  }
  if (dice_.Percent(35) && !device.neighbours.empty()) {
    device.neighbours.back().trusted = dice_.Below(3) - 1;
    device.neighbours.back().signal = -dice_.Below(100);
    return;
  }
  const auto& [mac, ssid] = dice_.OneOf(rogues_);
  device.neighbours.push_back({.mac = mac,
                               .ssid = ssid,
                               .trusted = dice_.Percent(30) ? 1 : 0,
                               .band = static_cast<records::WIFIBandType>(dice_.Percent(80) ? 0 : dice_.Below(3) - 1),
                               .channel = dice_.Percent(80) ? 6 : dice_.Below(14),
                               .signal = -30 - dice_.Below(60)});
}

/// A user of the portal, under the client's MAC as the device writes it.
void RandomNetwork::ChangePortal(probe::DeviceSnapshot& device) {
  const std::string& mac = dice_.OneOf(client_macs_);
  if (dice_.Percent(15)) {
    device.portal_users.erase(mac);
    return;
  }
  device.portal_users[mac] = {.username = dice_.OneOf(names::Users()),
                              .hostname = dice_.OneOf(names::Hosts()),
                              .in_bytes = Moved(0),
                              .out_bytes = Moved(0)};
}

/// The device read its counters anew; now and then it did not, or not all of them.
void RandomNetwork::Refresh(probe::DeviceSnapshot& device, time_t now) {
  if (dice_.Percent(12)) return;
  if (device.sample_time || dice_.Percent(10)) device.sample_time = Clocked(now, device.sample_time);
  if (device.polling_time || dice_.Percent(10)) device.polling_time = Clocked(now, device.polling_time);
  if (phase_ == Phase::kUsual) MoveCounters(device);
}

/// The device's clock: mostly ours, at times its own, which stands still or steps.
time_t RandomNetwork::Clocked(time_t now, const std::optional<time_t>& before) {
  const int kind = dice_.Below(60);
  if (kind == 0 && before) return *before;
  if (time_t next = 0; kind == 1 && before && !__builtin_add_overflow(*before, 1, &next)) return next;
  if (kind == 2) return now - dice_.Below(100'000);
  if (kind == 3) return now + dice_.Below(100'000);
  if (kind == 4) return 0;
  if (kind == 5) return -5;
  if (kind == 6 && is_hostile_)
    return dice_.OneOf<time_t>({std::numeric_limits<time_t>::max(), std::numeric_limits<time_t>::min()});
  return now;
}

std::uint64_t RandomNetwork::Moved(std::uint64_t counter) {
  const int kind = dice_.Below(40);
  if (kind < 6) return counter;
  if (kind == 6) return static_cast<std::uint64_t>(dice_.Below(1'000));  // restarted
  if (kind == 7) return 0;
  if (is_wild_ || (kind == 8 && is_hostile_)) return dice_.Bits();
  return counter + (dice_.Bits() >> static_cast<unsigned>(30 + dice_.Below(34)));
}

void RandomNetwork::MoveCounters(probe::DeviceSnapshot& device) {
  for (auto& [name, wifi] : device.ssid_interfaces) {
    for (auto& client : wifi.clients) {
      client.in_bytes = Moved(client.in_bytes);
      client.out_bytes = Moved(client.out_bytes);
    }
    if (wifi.traffic == nullptr) continue;
    auto traffic = std::make_shared<records::TrafficStats>(*wifi.traffic);
    traffic->in_bytes = Moved(traffic->in_bytes);
    traffic->out_bytes = Moved(traffic->out_bytes);
    wifi.traffic = traffic;
  }
  for (auto& [name, state] : device.interfaces) {
    if (state == nullptr || state->traffic == nullptr) continue;
    auto traffic = std::make_shared<records::TrafficStats>(*state->traffic);
    traffic->in_bytes = Moved(traffic->in_bytes);
    traffic->out_bytes = Moved(traffic->out_bytes);
    state = std::make_shared<records::InterfaceState>(
        records::InterfaceState{.oper_status = state->oper_status, .traffic = traffic});
  }
  for (auto& [mac, user] : device.portal_users) {
    user.in_bytes = Moved(user.in_bytes);
    user.out_bytes = Moved(user.out_bytes);
  }
}

}  // namespace history
