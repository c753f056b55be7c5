#include "monitor/reports/network/network_stage.h"

#include <algorithm>
#include <cstddef>

#include "monitor/engine/band_names.h"
#include "monitor/reports/network/network_keys.h"

namespace vexora_probe::monitor {
namespace {

/// Samples of a network are made room for in steps of two hours: doubling would waste half of the memory.
constexpr std::size_t kSampleStep = 24;

bool IsOf(const NetworkReading& reading, const DeviceRecord& device, const NetworkToday& network) {
  return network.security_mode == reading.security_mode && network.is_guest == reading.is_guest &&
         network.band == reading.band && network.name_length == reading.name.size() &&
         device.keys[network.key].compare(0, network.name_length, reading.name) == 0;
}

/// The sums of an ID, which are made when there are none.
RunningSum& SumOf(const std::string& id, FamilySums& family) {
  const auto [sum, is_new] = family.ids.try_emplace(id);
  if (is_new) family.is_week_due = true;
  return sum->second;
}

/// Stages one device.
class DeviceStage {
 public:
  DeviceStage(DeviceRecord& device, SampleStore& store) : device_(device), store_(store) {}

  void Stage(const std::vector<NetworkReading>& readings) {
    device_.order.resize(readings.size(), 0);
    for (std::size_t number = 0; number < readings.size(); ++number) {
      const NetworkReading& reading = readings[number];
      // Interfaces mostly come as in the reading before, so that no key has to be made to find them.
      std::size_t& index = device_.order[number];
      if (index >= device_.today.size() || !IsOf(reading, device_, device_.today[index])) index = IndexOf(reading);
      NetworkToday& network = device_.today[index];
      if (network.samples.size() == network.samples.capacity()) {
        network.samples.reserve(network.samples.size() + kSampleStep);
      }
      network.staged_pass = store_.minutes.size();
      network.staged_clients = reading.clients;
      network.staged = reading.counters;
    }
  }

 private:
  const std::string& KeyOf(const NetworkToday& network) const { return device_.keys[network.key]; }

  std::size_t IndexOf(const NetworkReading& reading) {
    const std::string ssid = SSIDKey(reading.name, reading.security_mode, reading.is_guest);
    const std::string band = monitoring::BandName(reading.band, "");
    const std::string key = SSIDKeyWithRadio(ssid, band);
    auto at = std::lower_bound(
        device_.today.begin(), device_.today.end(), key,
        [this](const NetworkToday& network, const std::string& other) { return KeyOf(network) < other; });
    if (at == device_.today.end() || KeyOf(*at) != key) {
      NetworkToday network{.key = DayIndexOf(key),
                           .name_length = reading.name.size(),
                           .security_mode = reading.security_mode,
                           .band = reading.band,
                           .is_guest = reading.is_guest,
                           .staged = {},
                           .before = {},
                           .latest = {},
                           .ssid = &SumOf(ssid, store_.ssids),
                           .spectrum = &SumOf(band, store_.spectrums),
                           .samples = {}};
      at = device_.today.insert(at, std::move(network));
    }
    return static_cast<std::size_t>(at - device_.today.begin());
  }

  /// The index of a key, whose record of today begins with no clients. The traffic goes on when the day has one from
  /// before the clock changed.
  std::size_t DayIndexOf(const std::string& key) {
    const auto known = std::find(device_.keys.begin(), device_.keys.end(), key);
    const auto index = static_cast<std::size_t>(known - device_.keys.begin());
    if (known == device_.keys.end()) device_.keys.push_back(key);
    std::vector<NetworkDay>& networks = device_.days.back().networks;
    if (networks.size() <= index) networks.resize(index + 1);
    networks[index].is_present = true;
    networks[index].client_total = 0;
    networks[index].client_peak = 0;
    return index;
  }

  DeviceRecord& device_;
  SampleStore& store_;
};

}  // namespace

void StageSamples(const std::string& mac, const std::vector<NetworkReading>& readings, std::int64_t minute,
                  SampleStore& store) {
  if (readings.empty()) return;
  if (store.minutes.empty() || store.minutes.back() != minute) store.minutes.push_back(minute);
  DeviceRecord& device = store.Device(mac);
  if (device.access_point == nullptr) device.access_point = &SumOf(mac, store.access_points);
  if (device.days.empty() || device.days.back().day != store.day) {
    device.days.push_back({.day = store.day, .networks = {}});
  }
  DeviceStage(device, store).Stage(readings);
}

}  // namespace vexora_probe::monitor
