#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/device_centre.h"
#include "probe/host/device_snapshot.h"

namespace probe {

/// A device as its snapshot shows it: the only `Device` of this host.
///
/// It reads one snapshot for as long as it lives, so whoever asks it several things gets answers of the same moment.
/// Threads: any; nothing in it changes.
class SnapshotDevice final : public Device {
 public:
  explicit SnapshotDevice(std::shared_ptr<const DeviceSnapshot> snapshot);

  std::shared_ptr<Driver> driver() const override;
  vexora_probe::models::controller::BasicInfo basic_info() const override;
  vexora_probe::models::controller::InterfaceStates get_all_interfaces_state(time_t& sampled_at) const override;
  void get_ssid_interfaces_state(
      std::map<std::string, vexora_probe::models::controller::SSIDIfState>& states) const override;
  void get_radio_interfaces_state(
      std::map<std::string, vexora_probe::models::controller::RadioIfState>& states) const override;
  void get_ssid_radio(const std::string& interface, std::string& ssid, int& radio) const override;
  void get_ssid_radio(const std::string& interface, std::string& radio_name) const override;
  time_t if_state_polling_time() const override;
  std::map<std::string, vexora_probe::models::controller::PortalUser> portal_state() const override;
  std::list<vexora_probe::models::controller::NeighboringAP> neighboring_ap_tbl() const override;
  vexora_probe::models::controller::HwResources hw_resources() const override;
  vexora_probe::models::controller::DeviceClock clock() const override;
  vexora_probe::models::controller::HealthState health_state() const override;
  std::shared_ptr<const vexora_probe::models::controller::SSIDInterfaceStates> shared_ssid_interfaces_state()
      const override;
  std::shared_ptr<const vexora_probe::models::controller::InterfaceStates> shared_interfaces_state(
      time_t& sampled_at) const override;

 private:
  /// When the interfaces were read.
  time_t SampleTime() const;
  std::shared_ptr<const DeviceSnapshot> snapshot_;
};

}  // namespace probe
