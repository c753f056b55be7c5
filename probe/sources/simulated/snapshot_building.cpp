#include "probe/sources/simulated/snapshot_building.h"

#include <array>
#include <memory>
#include <utility>

#include "platform/device_records.h"
#include "probe/sources/simulated/attendance.h"
#include "probe/sources/simulated/client_radio.h"
#include "probe/sources/simulated/mac.h"
#include "probe/sources/simulated/neighbourhood.h"
#include "probe/sources/simulated/octets.h"
#include "probe/sources/simulated/roster.h"
#include "probe/sources/simulated/wireless_networks.h"

namespace probe::simulated {
namespace {

namespace records = vexora_probe::models::controller;

constexpr std::int32_t kOperStatusDown = 2;  // RFC 2863, ifOperStatus

std::shared_ptr<const records::TrafficStats> Statistics(std::size_t port, const Octets& octets) {
  auto traffic = std::make_shared<records::TrafficStats>();
  // ifIndex begins with 1. RFC 2863
  traffic->if_index = static_cast<std::int32_t>(port + 1);
  traffic->in_bytes = octets.in;
  traffic->out_bytes = octets.out;
  return traffic;
}

/// Devices of different makes write MACs differently, and the plug-in has to find a client that roams between them.
MacNotation NotationOf(std::size_t access_point) {
  constexpr std::array<MacNotation, 3> kNotations{MacNotation::kUpperColons, MacNotation::kLowerColons,
                                                  MacNotation::kLowerDashes};
  return kNotations[access_point % kNotations.size()];
}

/// Fills the records of one access point's clients.
class ClientList {
 public:
  ClientList(const Dice& dice, std::size_t access_point, const RadioSide& air, const Moment& moment)
      : dice_(dice), air_(air), moment_(moment), access_point_(access_point), notation_(NotationOf(access_point)) {}

  void Fill(std::size_t radio, std::size_t network, records::SSIDIfState& state,
            std::map<std::string, records::PortalUser>& portal_users,
            std::map<std::string, std::int32_t>& signals) const {
    for (const std::uint32_t number : air_.ClientsOn(access_point_, radio, network)) {
      state.clients.push_back(Record(number, radio));
      signals[state.clients.back().mac] = SignalOf(dice_, air_.client(number), radio, moment_);
      if (const PortalSession* session = air_.SessionOf(number)) {
        // The portal knows a client by its MAC as this access point writes it.
        portal_users.emplace(state.clients.back().mac, User(*session));
      }
    }
    state.client_count = static_cast<std::int32_t>(state.clients.size());
  }

 private:
  records::AssocClientState Record(std::uint32_t number, std::size_t radio) const {
    const Client& client = air_.client(number);
    records::AssocClientState record;
    record.mac = MacText(client.mac, notation_);
    record.hostname = client.hostname;
    record.mode = ModeOf(dice_, client, radio);
    record.data_rate = DataRateOf(dice_, client, radio, moment_);
    record.in_bytes = air_.OctetsOf(number).in;
    record.out_bytes = air_.OctetsOf(number).out;
    return record;
  }

  records::PortalUser User(const PortalSession& session) const {
    const Client& visitor = air_.client(session.client);
    records::PortalUser user;
    user.username = PortalUserName(dice_, visitor, session.day);
    user.hostname = visitor.hostname;
    user.in_bytes = session.octets.in;
    user.out_bytes = session.octets.out;
    return user;
  }

  const Dice& dice_;
  const RadioSide& air_;
  const Moment& moment_;
  const std::size_t access_point_;
  const MacNotation notation_;
};

}  // namespace

DeviceSnapshot CommonSnapshot(const DevicePlan& device, const DeviceState& state, const Moment& moment) {
  DeviceSnapshot snapshot;
  snapshot.online = state.is_online;
  snapshot.basic_info =
      records::BasicInfo{.mac = device.mac, .hostname = device.name, .ip = device.ip, .type = device.type};
  snapshot.platform_info = records::PlatformInfo{.model = device.model, .version = device.version};
  snapshot.sample_time = moment.time;
  snapshot.polling_time = moment.time;
  for (std::size_t port = 0; port < device.ports.size(); ++port) {
    auto interface = std::make_shared<records::InterfaceState>();
    interface->oper_status = device.ports[port].is_up ? records::kOperStatusUp : kOperStatusDown;
    if (device.ports[port].has_statistics) interface->traffic = Statistics(port, state.counters[port]);
    if (device.ports[port].is_up && device.ports[port].bits_per_second > 0)
      snapshot.details.port_speeds[device.ports[port].name] = device.ports[port].bits_per_second;
    snapshot.interfaces.emplace(device.ports[port].name, std::move(interface));
  }
  return snapshot;
}

void AddLoad(const DevicePlan& device, const DeviceLoad& load, DeviceSnapshot& snapshot) {
  snapshot.cpu = load.cpu;
  snapshot.uptime = load.uptime;
  snapshot.health_level = load.health;
  snapshot.notifications = load.notifications;
  snapshot.details.notifications = load.open;
  if (device.refuses_login) {
    // Model and version can be read after a login only.
    snapshot.platform_info.reset();
    snapshot.credential_json = R"({"credential": "failed", "reason": "the device refused the password"})";
  }
}

void AddWireless(const Dice& dice, std::size_t access_point, const DeviceState& state, const RadioSide& air,
                 const Moment& moment, DeviceSnapshot& snapshot) {
  snapshot.is_wireless = true;
  snapshot.ssid_config = WirelessConfiguration();
  snapshot.radios[kRadioNames[kLowBand]].band = records::WIFIBandType::k2_4GHz;
  snapshot.radios[kRadioNames[kHighBand]].band = records::WIFIBandType::k5GHz;
  const ClientList clients(dice, access_point, air, moment);
  for (std::size_t radio = 0; radio < kRadioNames.size(); ++radio) {
    snapshot.details.channels[kRadioNames[radio]] = ChannelOfRadio(dice, access_point, radio);
    for (std::size_t network = 0; network < kWirelessNetworks.size(); ++network) {
      const std::size_t port = kFirstSsidPort + SsidInterface(radio, network);
      records::SSIDIfState interface;
      interface.ssid = kWirelessNetworks[network].ssid;
      interface.radio = kRadioNames[radio];
      // An SSID interface is one of the device's ports, too, and has the same counters as that.
      interface.traffic = Statistics(port, state.counters[port]);
      clients.Fill(radio, network, interface, snapshot.portal_users, snapshot.details.client_signals);
      snapshot.ssid_interfaces.emplace(SsidInterfaceName(radio, network), std::move(interface));
    }
  }
}

}  // namespace probe::simulated
