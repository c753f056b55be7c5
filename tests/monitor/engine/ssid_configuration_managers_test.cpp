// Which manager is asked for a device's configuration. The probe's own managers answer for either class of device, so
// two that don't stand in for them here.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "monitor/engine/ssid_configurations.h"
#include "platform/configuration.h"
#include "platform/device_records.h"

namespace {

using monitoring::ConfigurationsOf;
using vexora_probe::models::controller::DeviceType;

constexpr const char* kDevice = "AA:AA:AA:AA:AA:01";

/// The configuration of a device that is known to the manager that hands it out.
template <typename Base>
class NamedConfiguration final : public Base {
 public:
  explicit NamedConfiguration(std::string key) : key_(std::move(key)) {}
  void GetSSIDCfg(SSIDConfigurations& configurations) const override { configurations[key_]; }

 private:
  std::string key_;
};

class Routers final : public RouterManager {
 public:
  std::shared_ptr<RouterConfig> GetRouterConfig(const std::string& mac) override {
    return std::make_shared<NamedConfiguration<RouterConfig>>("router " + mac);
  }
};

class AccessPoints final : public APManager {
 public:
  std::shared_ptr<APConfig> GetAPConfig(const std::string& mac) override {
    return std::make_shared<NamedConfiguration<APConfig>>("access point " + mac);
  }
};

/// The only key of the configurations of a device of this class; empty when there is not one.
std::string KeyFor(DeviceType type) {
  const auto configurations = ConfigurationsOf(kDevice, type);
  return configurations->size() == 1 ? configurations->begin()->first : std::string();
}

TEST(SsidConfigurationManagers, AreAskedEachForItsOwnClassOfDevice) {
  EXPECT_EQ(KeyFor(DeviceType::kAccessPoint), "access point AA:AA:AA:AA:AA:01");
  EXPECT_EQ(KeyFor(DeviceType::kRouter), "router AA:AA:AA:AA:AA:01");
}

}  // namespace

RouterManager& RouterManager::GetInstance() {
  static Routers routers;
  return routers;
}

APManager& APManager::GetInstance() {
  static AccessPoints access_points;
  return access_points;
}
