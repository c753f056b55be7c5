#pragma once

#include <map>
#include <string>
#include <vector>

#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitor.h"
#include "monitor/engine/pass_devices.h"
#include "monitor/health/health_status.h"
#include "platform/utilities/locks.h"

/// Keeps a snapshot of the health of every online managed device and grades it for the subscribers. No history: a
/// device that goes offline keeps its last snapshot until it is cleaned up.
///
/// Threads: a pass runs on the engine's thread. Clean-up and a first message for a new subscriber come from any
///          thread, also during a pass.
class HealthMonitor : public Monitor {
 public:
  HealthMonitor() = default;

  std::string GetMonitorName() override;

  /// Refreshes every online managed device. All of them are read first and then shown at once, but for those that were
  /// cleaned up meanwhile.
  void CollectData() override VEXORA_EXCLUDES(health_lock);

  /// Reads one device's state into `status`, which stays as it is for a device that is unknown or has no driver.
  static void SystemStateDe(const std::string& mac, monitoring::HealthStatus& status);

  /// Makes `status` the snapshot of a device; of no device that is unknown or has no driver.
  void UpdateHealthStatus(const std::string& mac, const monitoring::HealthStatus& status) VEXORA_EXCLUDES(health_lock);

  /// Pushes to the subscribers; the last step of a pass.
  void monitor(const std::string& argument) override;

  /// Sends one message to each connection, for the device that its filter names. Of several subscriptions of one
  /// connection the one with the greatest SID is served.
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override VEXORA_EXCLUDES(health_lock);

  /// The message for one connection: the device `mac`, or all devices for an empty text. Levels are graded for the
  /// message only.
  ///
  /// Asks the host for devices and credential states, and has the message composed, with the snapshots locked for
  /// reading.
  /// Fails: an empty text when there is no memory for it.
  std::string GenerateJsonMsg(const std::string& name, const std::string& mac) override VEXORA_EXCLUDES(health_lock);

  /// Nothing: there are no views.
  void MergeDataForInterval() override {}
  void MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/, int /*count*/,
                              int /*minutes*/) override {}

  /// Forgets a device. Threads: any, also during a pass.
  void Cleanup(const std::string& mac) override VEXORA_EXCLUDES(health_lock);

 private:
  /// What was read of one device of a pass.
  struct Collected {
    const std::string* mac = nullptr;  ///< One of `pass_devices_`.
    monitoring::HealthStatus status;
    monitoring::HealthStatus* place = nullptr;  ///< What it replaces; null for a device that is new.
  };

  /// Makes what a pass collected the snapshots, all of it at once.
  ///
  /// Fails: with `std::bad_alloc`, and then the snapshots are those of the pass before.
  void Publish(std::vector<Collected>& collected) VEXORA_EXCLUDES(health_lock);

  monitoring::PassDevices pass_devices_;
  std::map<std::string, monitoring::HealthStatus> health_status_map VEXORA_GUARDED_BY(health_lock);  // by device MAC
  mutable utilities::lock::RwLock health_lock;
};
