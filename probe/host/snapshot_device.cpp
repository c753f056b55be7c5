#include "probe/host/snapshot_device.h"

#include <ctime>
#include <utility>

namespace probe {
namespace records = vexora_probe::models::controller;
namespace {

class SnapshotDriver final : public Driver {
 public:
  explicit SnapshotDriver(bool is_wireless) : is_wireless_(is_wireless) {}
  bool IsWirelessSupported() const override { return is_wireless_; }

 private:
  bool is_wireless_;
};

}  // namespace

SnapshotDevice::SnapshotDevice(std::shared_ptr<const DeviceSnapshot> snapshot) : snapshot_(std::move(snapshot)) {}

std::shared_ptr<Driver> SnapshotDevice::driver() const {
  if (!snapshot_->driver) return nullptr;
  // One object for all devices of a kind: it has nothing of its own.
  static const auto wireless = std::make_shared<SnapshotDriver>(true);
  static const auto wired = std::make_shared<SnapshotDriver>(false);
  return snapshot_->is_wireless ? wireless : wired;
}

records::BasicInfo SnapshotDevice::basic_info() const {
  return snapshot_->basic_info.value_or(records::BasicInfo{});
}

time_t SnapshotDevice::SampleTime() const {
  // Without a time of its own a reading is as new as the question, by the clock of the process.
  return snapshot_->sample_time ? *snapshot_->sample_time : time(nullptr);
}

records::InterfaceStates SnapshotDevice::get_all_interfaces_state(time_t& sampled_at) const {
  sampled_at = SampleTime();
  return snapshot_->interfaces;
}

std::shared_ptr<const records::InterfaceStates> SnapshotDevice::shared_interfaces_state(time_t& sampled_at) const {
  sampled_at = SampleTime();
  return {snapshot_, &snapshot_->interfaces};
}

void SnapshotDevice::get_ssid_interfaces_state(std::map<std::string, records::SSIDIfState>& states) const {
  states = snapshot_->ssid_interfaces;
}

std::shared_ptr<const records::SSIDInterfaceStates> SnapshotDevice::shared_ssid_interfaces_state() const {
  return {snapshot_, &snapshot_->ssid_interfaces};  // a part of the snapshot, which it keeps alive
}

void SnapshotDevice::get_radio_interfaces_state(std::map<std::string, records::RadioIfState>& states) const {
  states = snapshot_->radios;
}

void SnapshotDevice::get_ssid_radio(const std::string& interface, std::string& ssid, int& radio) const {
  ssid.clear();
  radio = static_cast<int>(records::WIFIBandType::kUnknown);
  const auto carrier = snapshot_->ssid_interfaces.find(interface);
  if (carrier == snapshot_->ssid_interfaces.end()) return;
  ssid = carrier->second.ssid;
  const auto found = snapshot_->radios.find(carrier->second.radio);
  if (found != snapshot_->radios.end()) radio = static_cast<int>(found->second.band);
}

void SnapshotDevice::get_ssid_radio(const std::string& interface, std::string& radio_name) const {
  const auto carrier = snapshot_->ssid_interfaces.find(interface);
  radio_name = carrier == snapshot_->ssid_interfaces.end() ? std::string() : carrier->second.radio;
}

time_t SnapshotDevice::if_state_polling_time() const {
  return snapshot_->polling_time ? *snapshot_->polling_time : time(nullptr);
}

std::map<std::string, records::PortalUser> SnapshotDevice::portal_state() const {
  return snapshot_->portal_users;
}

std::list<records::NeighboringAP> SnapshotDevice::neighboring_ap_tbl() const {
  return snapshot_->neighbours;
}

records::HwResources SnapshotDevice::hw_resources() const {
  return {.cpu = snapshot_->cpu};
}

records::DeviceClock SnapshotDevice::clock() const {
  return {.uptime = snapshot_->uptime};
}

records::HealthState SnapshotDevice::health_state() const {
  return {.level = snapshot_->health_level};
}

}  // namespace probe
