#include "tests/probe/sources/simulated/given_company.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "platform/device_records.h"

namespace probe::simulated {
namespace {

namespace records = vexora_probe::models::controller;

std::string Plain(const std::string& text) {
  std::string plain;
  for (const char octet : text) {
    if (octet >= ' ' && octet <= '~' && octet != '%') {
      plain += octet;
      continue;
    }
    char hex[4];
    std::snprintf(hex, sizeof hex, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(octet)));
    plain += hex;
  }
  return "'" + plain + "'";
}

std::ostream& operator<<(std::ostream& out, const std::shared_ptr<const records::TrafficStats>& traffic) {
  if (traffic == nullptr) return out << " none";
  return out << " #" << traffic->if_index << " in " << traffic->in_bytes << " out " << traffic->out_bytes;
}

void WriteWho(const DeviceSnapshot& device, std::ostream& out) {
  out << device.online << device.known << device.driver << device.is_wireless;
  if (device.basic_info) {
    out << " " << Plain(device.basic_info->hostname) << " " << device.basic_info->ip << " type "
        << static_cast<int>(device.basic_info->type);
  }
  if (device.platform_info) out << " " << device.platform_info->model << " " << device.platform_info->version;
  out << "\n  cpu " << device.cpu << " uptime " << device.uptime << " health " << device.health_level << " open "
      << device.notifications.info << "/" << device.notifications.warning << "/" << device.notifications.alert << " "
      << device.credential_json << "\n  sampled " << device.sample_time.value_or(-1) << " polled "
      << device.polling_time.value_or(-1) << "\n";
}

void WritePorts(const DeviceSnapshot& device, std::ostream& out) {
  for (const auto& [name, port] : device.interfaces) {
    out << "  port " << name << " " << port->oper_status << port->traffic << "\n";
  }
}

void WriteWireless(const DeviceSnapshot& device, std::ostream& out) {
  for (const auto& [name, radio] : device.radios)
    out << "  radio " << name << " " << static_cast<int>(radio.band) << "\n";
  for (const auto& [key, configuration] : device.ssid_config) {
    out << "  ssid " << key << " " << configuration.name << " " << static_cast<int>(configuration.security_mode) << " "
        << configuration.guest << "\n";
  }
  for (const auto& [name, interface] : device.ssid_interfaces) {
    out << "  wlan " << name << " " << interface.ssid << " " << interface.radio << " " << interface.client_count
        << interface.traffic << "\n";
    for (const auto& client : interface.clients) {
      out << "    " << client.mac << " " << client.hostname << " " << static_cast<int>(client.mode) << " "
          << client.data_rate << " " << client.in_bytes << " " << client.out_bytes << "\n";
    }
  }
  for (const auto& [mac, user] : device.portal_users) {
    out << "  user " << mac << " " << user.username << " " << user.hostname << " " << user.in_bytes << " "
        << user.out_bytes << "\n";
  }
  for (const auto& neighbour : device.neighbours) {
    out << "  hears " << neighbour.mac << " " << Plain(neighbour.ssid) << " " << neighbour.trusted << " "
        << static_cast<int>(neighbour.band) << " " << neighbour.channel << " " << neighbour.signal << "\n";
  }
}

}  // namespace

void SimulatedTest::SetUpTestSuite() {
  setenv("TZ", "UTC", 1);
  tzset();
}

void GivenCompany::Run(time_t from, time_t until, time_t step, const Look& look) {
  for (time_t now = from; now <= until; now += step) {
    network.Advance(now);
    look(now);
  }
}

const DeviceSnapshot& GivenCompany::Device(const std::string& mac) {
  auto& held = held_[mac];
  held = centre.Snapshot(mac);
  if (held == nullptr) held = std::make_shared<const DeviceSnapshot>();
  return *held;
}

std::size_t GivenCompany::Clients() {
  std::size_t clients = 0;
  for (const std::string& mac : Online()) {
    for (const auto& [name, interface] : Device(mac).ssid_interfaces) clients += interface.clients.size();
  }
  return clients;
}

std::string TextOf(DeviceCentre& centre) {
  std::ostringstream out;
  for (const std::string& mac : centre.GetOnlineManagedDevices(false)) {
    const auto device = centre.Snapshot(mac);
    out << mac << " ";
    WriteWho(*device, out);
    WritePorts(*device, out);
    WriteWireless(*device, out);
  }
  return out.str();
}

}  // namespace probe::simulated
