#include "probe/host/device_centre.h"

#include <atomic>
#include <utility>

#include "probe/host/snapshot_device.h"

namespace records = vexora_probe::models::controller;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

DeviceManager& DeviceManager::GetInstance() {
  return probe::DeviceCentre::InForce();
}

std::string DeviceManager::GetDeviceTypeStr(records::DeviceType type) {
  switch (type) {
    case records::DeviceType::kRouter:
      return "Router";
    case records::DeviceType::kAccessPoint:
      return "AccessPoint";
    case records::DeviceType::kSwitch:
      return "Switch";
    case records::DeviceType::kUnknown:
      break;
  }
  return "Unknown";
}

namespace probe {
namespace {
std::atomic<DeviceCentre*> in_force{nullptr};
}  // namespace

DeviceCentre& DeviceCentre::Instance() {
  static DeviceCentre centre;
  return centre;
}

DeviceCentre& DeviceCentre::InForce() {
  DeviceCentre* const centre = in_force.load();
  return centre == nullptr ? Instance() : *centre;
}

void DeviceCentre::PutInForce(DeviceCentre* centre) {
  in_force.store(centre);
}

void DeviceCentre::Replace(const std::string& mac, DeviceSnapshot snapshot) {
  // The key counts: the state of a device in a recording does not repeat it.
  if (snapshot.basic_info) snapshot.basic_info->mac = mac;
  ReplaceWith(mac, std::make_shared<const DeviceSnapshot>(std::move(snapshot)));
}

void DeviceCentre::ReplaceWith(const std::string& mac, std::shared_ptr<const DeviceSnapshot> snapshot) {
  // Declared before the guard, so that the snapshot which it replaces is freed after the lock is released.
  Change change{.mac = mac, .snapshot = std::move(snapshot)};
  const lock_guard_write held(lock_);
  Make(change);
}

void DeviceCentre::Forget(const std::string& mac) {
  Change change{.mac = mac, .snapshot = nullptr};
  const lock_guard_write held(lock_);
  Make(change);
}

void DeviceCentre::Make(Change& change) {
  if (is_held_) {
    waiting_.push_back(std::move(change));
    return;
  }
  if (change.snapshot == nullptr) {
    snapshots_.erase(change.mac);  // its place in order_ stays, for the case that the device comes back
    return;
  }
  std::swap(snapshots_[change.mac], change.snapshot);
  TakePlace(change.mac);
}

void DeviceCentre::TakePlace(const std::string& mac) {
  if (named_.insert(mac).second) order_.push_back(mac);
}

void DeviceCentre::Name(const std::string& mac) {
  const lock_guard_write held(lock_);
  TakePlace(mac);
}

void DeviceCentre::PutFirst(const std::vector<std::string>& macs) {
  const lock_guard_write held(lock_);
  std::vector<std::string> others;
  others.swap(order_);
  named_.clear();
  for (const std::string& mac : macs) TakePlace(mac);
  for (const std::string& mac : others) TakePlace(mac);
}

void DeviceCentre::Hold() {
  const lock_guard_write held(lock_);
  is_held_ = true;
}

void DeviceCentre::Release() {
  std::vector<Change> waiting;  // as above: freed after the lock is released
  const lock_guard_write held(lock_);
  is_held_ = false;
  waiting.swap(waiting_);
  for (Change& change : waiting) Make(change);
}

void DeviceCentre::Clear() {
  const lock_guard_write held(lock_);
  snapshots_.clear();
  order_.clear();
  named_.clear();
  waiting_.clear();
}

std::shared_ptr<const DeviceSnapshot> DeviceCentre::Snapshot(const std::string& mac) const {
  const lock_guard_read held(lock_);
  const auto found = snapshots_.find(mac);
  return found == snapshots_.end() ? nullptr : found->second;
}

std::vector<std::string> DeviceCentre::NamedFrom(std::size_t place) const {
  const lock_guard_read held(lock_);
  if (place >= order_.size()) return {};
  return {order_.begin() + static_cast<std::ptrdiff_t>(place), order_.end()};
}

std::vector<std::shared_ptr<const DeviceSnapshot>> DeviceCentre::Newest() const {
  const lock_guard_read held(lock_);
  std::vector<std::shared_ptr<const DeviceSnapshot>> newest;
  newest.reserve(order_.size());
  for (const std::string& mac : order_) {
    const auto found = snapshots_.find(mac);
    newest.push_back(found == snapshots_.end() ? nullptr : found->second);
  }
  return newest;
}

std::vector<std::string> DeviceCentre::GetOnlineManagedDevices(bool online_only) {
  const lock_guard_read held(lock_);
  std::vector<std::string> macs;
  // In the order in which they were first named, for the contract wants one that stays the same.
  for (const std::string& mac : order_) {
    const auto found = snapshots_.find(mac);
    if (found != snapshots_.end() && (found->second->online || !online_only)) macs.push_back(mac);
  }
  return macs;
}

std::shared_ptr<Device> DeviceCentre::device(const std::string& mac) {
  auto snapshot = Snapshot(mac);
  if (snapshot == nullptr || !snapshot->known) return nullptr;
  return std::make_shared<SnapshotDevice>(std::move(snapshot));
}

DeviceCentre::Snapshots DeviceCentre::Select(const std::string& mac, bool online_only) const {
  const lock_guard_read held(lock_);
  Snapshots selected;
  if (mac.empty()) {
    // Pointers only: the callers copy the records without the lock.
    selected = snapshots_;
  } else if (const auto found = snapshots_.find(mac); found != snapshots_.end()) {
    selected.insert(*found);
  }
  std::erase_if(selected, [&](const auto& entry) { return online_only && !entry.second->online; });
  return selected;
}

std::map<std::string, records::BasicInfo> DeviceCentre::GetDevicesBasicInfo(const std::string& mac, bool online_only) {
  std::map<std::string, records::BasicInfo> infos;
  for (const auto& [id, snapshot] : Select(mac, online_only)) {
    if (snapshot->basic_info) infos.emplace(id, *snapshot->basic_info);
  }
  return infos;
}

std::map<std::string, records::PlatformInfo> DeviceCentre::GetDevicePlatformInfo(const std::string& mac,
                                                                                 bool online_only) {
  std::map<std::string, records::PlatformInfo> infos;
  for (const auto& [id, snapshot] : Select(mac, online_only)) {
    if (snapshot->platform_info) infos.emplace(id, *snapshot->platform_info);
  }
  return infos;
}

}  // namespace probe
