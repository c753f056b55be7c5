#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>

#include "probe/device_centre/device_snapshot.h"

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
    /// A port in operation with these counters; its ifIndex is that of its first mention, counted from 1.
    DeviceWords& Port(const std::string& name, Octets octets);
    DeviceWords& PortDown(const std::string& name, Octets octets);
    DeviceWords& PortWithoutStatistics(const std::string& name);
    DeviceWords& PortWithoutState(const std::string& name);
    DeviceWords& WithoutPort(const std::string& name);
    /// An interface that carries an SSID on a radio; give the radio's band with `Radio`.
    DeviceWords& Wifi(const std::string& name, const std::string& ssid, const std::string& radio, Octets octets);
    DeviceWords& Radio(const std::string& name, vexora_probe::models::controller::WIFIBandType band);
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

 private:
  struct Described {
    probe::DeviceSnapshot state;
    std::map<std::string, int> indexes;
  };

  std::map<std::string, Described> devices_;
};

}  // namespace test
