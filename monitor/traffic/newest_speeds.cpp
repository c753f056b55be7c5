#include "monitor/traffic/newest_speeds.h"

#include <algorithm>
#include <utility>

#include "monitor/traffic/speed_history.h"

namespace monitoring::traffic {

using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

NewestSpeeds::Rows NewestSpeeds::RowsFor(const DeviceRecord& device) {
  Rows rows(device.interfaces.size());
  for (std::size_t index = 0; index < rows.size(); ++index) rows[index].name = device.interfaces[index].name;
  return rows;
}

bool NewestSpeeds::HasNamesOf(const Rows& rows, const DeviceRecord& device) {
  return std::ranges::equal(rows, device.interfaces, {}, &Row::name, &InterfaceRecord::name);
}

void NewestSpeeds::Write(const DeviceRecord& device, std::size_t place, Rows& rows) {
  for (std::size_t index = 0; index < rows.size(); ++index) {
    const History& history = device.interfaces[index].histories[kMinuteView];
    Row& row = rows[index];
    row.is_known[place] = !history.empty();
    if (history.empty()) continue;
    row.speeds[place] = {.input = history.newest().input, .output = history.newest().output};
  }
}

void NewestSpeeds::Stage(const std::string& mac, const DeviceRecord& device) {
  const lock_guard_read held(lock_);
  const std::size_t staged = 1 - shown_;
  const auto known = devices_.find(mac);
  if (known != devices_.end() && HasNamesOf(known->second, device)) {
    Write(device, staged, known->second);
    changed_.erase(mac);  // of a fold that was cut short
    return;
  }
  Rows rows = RowsFor(device);
  Write(device, staged, rows);
  changed_[mac] = std::move(rows);
}

void NewestSpeeds::Show(const Devices& devices) {
  RowsByMac gone;  // freed after the lock is released, as what `changed` gets by the swaps
  RowsByMac changed = std::exchange(changed_, {});
  const lock_guard_write held(lock_);
  for (auto next = changed.begin(); next != changed.end();) {
    const auto staged = next++;
    const auto known = devices_.find(staged->first);
    if (known == devices_.end()) {
      devices_.insert(changed.extract(staged));
    } else {
      known->second.swap(staged->second);
    }
  }
  shown_ = 1 - shown_;
  for (auto next = devices_.begin(); devices_.size() != devices.size() && next != devices_.end();) {
    const auto known = next++;
    if (!devices.contains(known->first)) gone.insert(devices_.extract(known));
  }
}

void NewestSpeeds::ShowDevice(const std::string& mac, const DeviceRecord& device) {
  RowsByMac shown;  // what it gets by the swap is freed after the lock is released
  Rows& rows = shown[mac] = RowsFor(device);
  for (const std::size_t place : {0U, 1U}) Write(device, place, rows);
  changed_.erase(mac);  // of a fold that was cut short
  const lock_guard_write held(lock_);
  const auto known = devices_.find(mac);
  if (known == devices_.end()) {
    devices_.merge(shown);
  } else {
    known->second.swap(rows);
  }
}

void NewestSpeeds::Remove(const std::string& mac) {
  RowsByMac::node_type removed;  // freed after the lock is released
  changed_.erase(mac);
  const lock_guard_write held(lock_);
  removed = devices_.extract(mac);
}

std::optional<NewestSpeeds::Speed> NewestSpeeds::Find(const std::string& mac, const std::string& interface) const {
  const lock_guard_read held(lock_);
  const auto device = devices_.find(mac);
  if (device == devices_.end()) return std::nullopt;
  const auto row = std::ranges::lower_bound(device->second, interface, {}, &Row::name);
  if (row == device->second.end() || row->name != interface || !row->is_known[shown_]) return std::nullopt;
  return row->speeds[shown_];
}

}  // namespace monitoring::traffic
