// The configuration managers of the contract, answered from the device centre's snapshots.

#include <memory>
#include <utility>

#include "platform/configuration.h"
#include "probe/host/device_centre.h"

namespace probe {
namespace {

/// The SSID configuration of one snapshot, as a router's or an access point's.
template <typename Contract>
class SnapshotConfiguration final : public Contract {
 public:
  explicit SnapshotConfiguration(std::shared_ptr<const DeviceSnapshot> snapshot) : snapshot_(std::move(snapshot)) {}
  void GetSSIDCfg(SSIDConfigurations& configurations) const override { configurations = snapshot_->ssid_config; }
  std::shared_ptr<const SSIDConfigurations> SharedSSIDCfg() const override {
    return {snapshot_, &snapshot_->ssid_config};  // a part of the snapshot, which it keeps alive
  }

 private:
  std::shared_ptr<const DeviceSnapshot> snapshot_;
};

/// That of a device of any type: which manager to ask is the plug-in's decision.
template <typename Contract>
std::shared_ptr<Contract> ConfigurationOf(const std::string& mac) {
  auto snapshot = DeviceCentre::InForce().Snapshot(mac);
  if (snapshot == nullptr) return nullptr;
  return std::make_shared<SnapshotConfiguration<Contract>>(std::move(snapshot));
}

class Routers final : public RouterManager {
 public:
  std::shared_ptr<RouterConfig> GetRouterConfig(const std::string& mac) override {
    return ConfigurationOf<RouterConfig>(mac);
  }
};

class AccessPoints final : public APManager {
 public:
  std::shared_ptr<APConfig> GetAPConfig(const std::string& mac) override { return ConfigurationOf<APConfig>(mac); }
};

}  // namespace
}  // namespace probe

RouterManager& RouterManager::GetInstance() {
  static probe::Routers routers;
  return routers;
}

APManager& APManager::GetInstance() {
  static probe::AccessPoints access_points;
  return access_points;
}
