#include "probe/host/device_centre.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <utility>

#include "probe/clock/clock.h"
#include "probe/clock/pass_phase.h"
#include "probe/host/device_details.h"
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
constexpr std::size_t kMostAbsences = 32;
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
  BoundNotifications(snapshot.details.notifications);
  Enter({.mac = mac,
         .snapshot = nullptr,
         .reading = std::make_shared<DeviceSnapshot>(std::move(snapshot)),
         .read_at = InstalledClock().Now().tv_sec});
}

void DeviceCentre::ReplaceWith(const std::string& mac, std::shared_ptr<const DeviceSnapshot> snapshot) {
  Enter({.mac = mac, .snapshot = std::move(snapshot)});
}

void DeviceCentre::Enter(Change change) {
  // The caller's, so that the snapshot which it replaces is freed after the lock is released.
  const lock_guard_write held(lock_);
  Make(change);
}

void DeviceCentre::Forget(const std::string& mac) {
  Enter({.mac = mac, .snapshot = nullptr});
}

void DeviceCentre::Make(Change& change) {
  if (is_held_) {
    waiting_.push_back(std::move(change));
    return;
  }
  if (change.reading != nullptr || change.snapshot != nullptr) {
    std::shared_ptr<const DeviceSnapshot>& place = PlaceOf(change.mac);
    if (change.reading != nullptr) {
      NoteReading(change, place.get());
      change.snapshot = std::move(change.reading);
    }
    NoteReturn(change.mac, place.get(), *change.snapshot);
    std::swap(place, change.snapshot);
  } else if (const auto known = by_mac_.find(change.mac); known != by_mac_.end()) {
    absences_.erase(change.mac);
    clients_.Forget(change.mac);
    notifications_.Forget(change.mac);
    std::swap(known->second->second, change.snapshot);  // its place stays, for the case that the device comes back
  }
}

void DeviceCentre::NoteReturn(const std::string& mac, const DeviceSnapshot* before, const DeviceSnapshot& now) {
  if (before == nullptr || before->online || !now.online || !before->sample_time || !now.sample_time) return;
  const Absence absence{.from = *before->sample_time, .to = *now.sample_time};
  // A device that is seen for the first time was read at no time before; a clock that was set back tells nothing.
  if (absence.from <= 0 || absence.to <= absence.from) return;
  std::vector<Absence>& absences = absences_[mac];
  if (absences.size() == kMostAbsences) absences.erase(absences.begin());
  absences.push_back(absence);
}

void DeviceCentre::NoteReading(const Change& change, const DeviceSnapshot* before) {
  clients_.Note(change.mac, *change.reading, change.read_at);
  if (before == nullptr) return;
  std::vector<Notification>& open = change.reading->details.notifications;
  // Of the reading before this one, which may have waited with it while the centre was held.
  KeepTimes(before->details.notifications, open);
  notifications_.Note(change.mac, before->details.notifications, open, change.read_at);
}

Presences DeviceCentre::ClientsOf(const std::string& mac) const {
  const lock_guard_read held(lock_);
  return clients_.Of(mac);
}

std::vector<PastNotification> DeviceCentre::PastNotifications() const {
  const lock_guard_read held(lock_);
  return notifications_.Past();
}

std::vector<Absence> DeviceCentre::Absences(const std::string& mac) const {
  const lock_guard_read held(lock_);
  const auto found = absences_.find(mac);
  return found == absences_.end() ? std::vector<Absence>() : found->second;
}

std::shared_ptr<const DeviceSnapshot>& DeviceCentre::PlaceOf(const std::string& mac) {
  const auto known = by_mac_.find(mac);
  if (known != by_mac_.end()) return known->second->second;
  Snapshots::value_type& entry = *snapshots_.try_emplace(mac).first;
  by_mac_.emplace(entry.first, &entry);
  order_.push_back(&entry);
  return entry.second;
}

void DeviceCentre::Name(const std::string& mac) {
  const lock_guard_write held(lock_);
  PlaceOf(mac);
}

void DeviceCentre::PutFirst(const std::vector<std::string>& macs) {
  const lock_guard_write held(lock_);
  for (const std::string& mac : macs) PlaceOf(mac);
  std::unordered_map<std::string_view, std::size_t> places;
  for (const std::string& mac : macs) places.emplace(mac, places.size());
  const auto place = [&](const Snapshots::value_type* entry) {
    const auto found = places.find(entry->first);
    return found == places.end() ? places.size() : found->second;
  };
  std::ranges::stable_sort(order_, {}, place);
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
  by_mac_.clear();
  order_.clear();
  snapshots_.clear();
  absences_.clear();
  clients_.Clear();
  notifications_.Clear();
  waiting_.clear();
}

std::shared_ptr<const DeviceSnapshot> DeviceCentre::Snapshot(const std::string& mac) const {
  const lock_guard_read held(lock_);
  const auto found = by_mac_.find(mac);
  return found == by_mac_.end() ? nullptr : found->second->second;
}

std::vector<std::string> DeviceCentre::NamedFrom(std::size_t place) const {
  const lock_guard_read held(lock_);
  std::vector<std::string> macs;
  for (; place < order_.size(); ++place) macs.push_back(order_[place]->first);
  return macs;
}

std::vector<std::shared_ptr<const DeviceSnapshot>> DeviceCentre::Newest() const {
  const lock_guard_read held(lock_);
  std::vector<std::shared_ptr<const DeviceSnapshot>> newest;
  newest.reserve(order_.size());
  for (const auto* entry : order_) newest.push_back(entry->second);
  return newest;
}

std::vector<std::string> DeviceCentre::GetOnlineManagedDevices(bool online_only) {
  // With this question each monitor begins to sample.
  EnterPassPhase(PassPhase::kSample);
  const auto is_listed = [online_only](const Snapshots::value_type* entry) {
    const DeviceSnapshot* snapshot = entry->second.get();
    return snapshot != nullptr && (snapshot->online || !online_only);
  };
  const lock_guard_read held(lock_);
  std::vector<std::string> macs;
  // No room for devices that are gone: the caller may keep the list for as long as a pass.
  macs.reserve(static_cast<std::size_t>(std::ranges::count_if(order_, is_listed)));
  // In the order in which they were first named, for the contract wants one that stays the same.
  for (const auto* entry : order_) {
    if (is_listed(entry)) macs.push_back(entry->first);
  }
  return macs;
}

std::shared_ptr<Device> DeviceCentre::device(const std::string& mac) {
  auto snapshot = Snapshot(mac);
  if (snapshot == nullptr || !snapshot->known) return nullptr;
  return std::make_shared<SnapshotDevice>(std::move(snapshot));
}

std::vector<std::pair<std::string, std::shared_ptr<const DeviceSnapshot>>> DeviceCentre::Select(
    const std::string& mac, bool online_only) const {
  // Pointers only: the callers copy the records without the lock.
  std::vector<std::pair<std::string, std::shared_ptr<const DeviceSnapshot>>> selected;
  const auto select = [&](const auto& snapshot) { return snapshot != nullptr && (snapshot->online || !online_only); };
  if (!mac.empty()) {
    if (auto snapshot = Snapshot(mac); select(snapshot)) selected.emplace_back(mac, std::move(snapshot));
    return selected;
  }
  const lock_guard_read held(lock_);
  selected.reserve(snapshots_.size());
  for (const auto& entry : snapshots_) {
    if (select(entry.second)) selected.emplace_back(entry);
  }
  return selected;
}

std::map<std::string, records::BasicInfo> DeviceCentre::GetDevicesBasicInfo(const std::string& mac, bool online_only) {
  std::map<std::string, records::BasicInfo> infos;
  for (const auto& [id, snapshot] : Select(mac, online_only)) {
    if (snapshot->basic_info) infos.emplace_hint(infos.end(), id, *snapshot->basic_info);
  }
  return infos;
}

std::map<std::string, records::PlatformInfo> DeviceCentre::GetDevicePlatformInfo(const std::string& mac,
                                                                                 bool online_only) {
  std::map<std::string, records::PlatformInfo> infos;
  for (const auto& [id, snapshot] : Select(mac, online_only)) {
    if (snapshot->platform_info) infos.emplace_hint(infos.end(), id, *snapshot->platform_info);
  }
  return infos;
}

}  // namespace probe
