#pragma once

#include <cstdint>
#include <ctime>
#include <list>
#include <map>
#include <string>

#include "platform/device_records.h"
#include "platform/event_centre.h"
#include "probe/host/device_snapshot.h"

namespace test {

/// The two counters of an interface.
struct Octets {
  std::uint64_t in = 0;
  std::uint64_t out = 0;
};

/// A network to be described device by device, in the probe's own device centre. Every word takes effect at once.
///
/// The device centre is emptied when the network comes and when it goes.
class Network {
 public:
  /// One device, in the words of the field. Cheap to copy; valid as long as the network.
  class DeviceWords {
   public:
    DeviceWords(Network& network, std::string mac);

    DeviceWords& Named(const std::string& hostname);
    DeviceWords& Address(const std::string& ip);
    /// A port in operation with these counters; its ifIndex is that of its first mention, counted from 1.
    DeviceWords& Port(const std::string& name, Octets octets);
    DeviceWords& PortDown(const std::string& name, Octets octets);
    DeviceWords& PortWithoutStatistics(const std::string& name);
    DeviceWords& PortWithoutState(const std::string& name);
    DeviceWords& WithoutPort(const std::string& name);
    /// An interface that carries an SSID on a radio; give the radio's band with `Radio`.
    DeviceWords& Wifi(const std::string& name, const std::string& ssid, const std::string& radio, Octets octets);
    DeviceWords& WifiWithoutStatistics(const std::string& name, const std::string& ssid, const std::string& radio);
    DeviceWords& WithoutWifi(const std::string& name);
    DeviceWords& Radio(const std::string& name, vexora_probe::models::controller::WIFIBandType band);
    /// One more client on an SSID interface, after those that it has; the interface's own count follows its list.
    DeviceWords& Client(const std::string& wifi, const vexora_probe::models::controller::AssocClientState& client);
    /// So many clients on an SSID interface, in place of those that it has.
    DeviceWords& Clients(const std::string& wifi, int count);
    /// The interface's own count of clients, when it is not that of its list.
    DeviceWords& CountedBy(const std::string& wifi, int count);
    DeviceWords& PortalUser(const std::string& client_mac, const vexora_probe::models::controller::PortalUser& user);
    DeviceWords& WithoutPortalUser(const std::string& client_mac);
    /// The configuration under an SSID key, such as "Office@BOTH".
    DeviceWords& Configured(const std::string& key, const vexora_probe::models::controller::SSIDCfg& configuration);
    DeviceWords& Neighbours(const std::list<vexora_probe::models::controller::NeighboringAP>& neighbours);
    DeviceWords& PolledAt(time_t moment);
    DeviceWords& Wireless(bool is_wireless);
    DeviceWords& Platform(const std::string& model, const std::string& version);
    DeviceWords& WithoutBasicInfo();
    DeviceWords& Cpu(std::int32_t percent);
    DeviceWords& Uptime(std::int32_t seconds);
    DeviceWords& HealthLevel(std::int32_t level);
    DeviceWords& Notifications(const vexora_probe::evcenter::Summary& summary);
    DeviceWords& SampledAt(time_t moment);
    DeviceWords& Online(bool is_online);
    DeviceWords& Known(bool is_known);
    DeviceWords& Driven(bool has_driver);
    DeviceWords& Credential(const std::string& json);

   private:
    probe::DeviceSnapshot& State();
    DeviceWords& Tell();
    int IndexOf(const std::string& port);

    Network& network_;
    std::string mac_;
  };

  Network();
  ~Network();
  Network(const Network&) = delete;
  Network& operator=(const Network&) = delete;

  DeviceWords Switch(const std::string& mac);
  DeviceWords AccessPoint(const std::string& mac);
  /// A router with a wireless side; its configuration is that of a router.
  DeviceWords Router(const std::string& mac);

 private:
  struct Described {
    probe::DeviceSnapshot state;
    std::map<std::string, int> indexes;
  };

  std::map<std::string, Described> devices_;
};

}  // namespace test
