#include "monitor/reports/network/network_store.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace vexora_probe::monitor {
namespace {

bool IsNoEarlier(const std::vector<std::int64_t>& minutes, const std::string& minute) {
  return !minutes.empty() && std::to_string(minutes.back()) >= minute;
}

bool IsUsed(const DeviceRecord& device, std::size_t key) {
  return std::any_of(device.days.begin(), device.days.end(),
                     [key](const DeviceDay& day) { return key < day.networks.size() && day.networks[key].is_present; });
}

/// Drops the keys that no day has any longer, so that networks which come and go do not fill the memory. Allocates
/// nothing: cut short, it would leave other devices with pointers to sums that are gone.
void DropUnusedKeys(DeviceRecord& device) noexcept {
  for (std::size_t key = device.keys.size(); key-- > 0;) {
    if (IsUsed(device, key)) continue;
    const auto offset = static_cast<std::ptrdiff_t>(key);
    device.keys.erase(device.keys.begin() + offset);
    for (DeviceDay& day : device.days) {
      if (key < day.networks.size()) day.networks.erase(day.networks.begin() + offset);
    }
  }
}

template <typename Record>
void Prefetch(const std::vector<Record>& records) {
  constexpr std::size_t kCacheLine = 64;
  const char* const begin = reinterpret_cast<const char*>(records.data());
  for (std::size_t offset = 0; offset < records.size() * sizeof(Record); offset += kCacheLine) {
    __builtin_prefetch(begin + offset, 1);
  }
}

void Clear(FamilySums& family) {
  family.ids.clear();
  family.is_week_due = true;
}

}  // namespace

CompactSample::CompactSample(std::size_t pass, std::uint32_t clients, double speed)
    : pass_(static_cast<std::uint16_t>(pass)) {
  static_assert(sizeof clients_ == sizeof clients && sizeof speed_ == sizeof speed);
  std::memcpy(clients_.data(), &clients, sizeof clients);
  std::memcpy(speed_.data(), &speed, sizeof speed);
}

std::uint32_t CompactSample::Clients() const {
  std::uint32_t clients = 0;
  std::memcpy(&clients, clients_.data(), sizeof clients);
  return clients;
}

double CompactSample::Speed() const {
  double speed = 0;
  std::memcpy(&speed, speed_.data(), sizeof speed);
  return speed;
}

void DeviceRecord::PrefetchToday() const {
  Prefetch(today);
  if (!days.empty()) Prefetch(days.back().networks);
}

void DeviceRecord::PrefetchSamples() const {
  for (const NetworkToday& network : today) __builtin_prefetch(network.samples.data() + network.samples.size(), 1);
}

void SampleStore::PrefetchNext() const {
  const auto next = last_device_ == devices.end() ? devices.begin() : std::next(last_device_);
  if (next != devices.end()) next->second.PrefetchToday();
}

DeviceRecord& SampleStore::Device(const std::string& mac) {
  auto next = last_device_ == devices.end() ? devices.begin() : std::next(last_device_);
  if (next == devices.end() || next->first != mac) next = devices.try_emplace(mac).first;
  last_device_ = next;
  return next->second;
}

void SampleStore::DropSamples(const std::string& new_day) {
  day = new_day;
  minutes.clear();
  rogue_minutes.clear();
  rogues.clear();
  Clear(ssids);
  Clear(access_points);
  Clear(spectrums);
  last_device_ = devices.end();
  for (auto device = devices.begin(); device != devices.end();) {
    DeviceRecord& record = device->second;
    record.today.clear();
    record.order.clear();
    record.access_point = nullptr;
    DropUnusedKeys(record);
    device = record.days.empty() ? devices.erase(device) : std::next(device);
  }
}

bool SampleStore::HasSampleSince(std::int64_t minute) const {
  const std::string text = std::to_string(minute);
  return IsNoEarlier(rogue_minutes, text) || IsNoEarlier(minutes, text);
}

}  // namespace vexora_probe::monitor
