#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/device_records.h"

// The configuration of routers and access points. The plug-in calls the host.
//
// Owner:   results are copies or shared objects that the host doesn't change after it has handed them out.
// Threads: any. No call may wait for the network, call back into the plug-in, or wait for a thread that may be inside
// it. Fails:   never throws.

/// SSID key -> its configuration.
///
/// A key is the SSID name, "@" and the radio's name (the one that `SSIDIfState::radio` gives), or the SSID name and
/// "@BOTH" for a configuration that holds on both radios.
using SSIDConfigurations = std::map<std::string, vexora_probe::models::controller::SSIDCfg>;

/// The configuration of one router.
class RouterConfig {
 public:
  virtual ~RouterConfig() = default;

  /// Fills `configurations`; leaves it empty when the router has no wireless side.
  virtual void GetSSIDCfg(SSIDConfigurations& configurations) const = 0;
};

/// The configuration of one access point.
class APConfig {
 public:
  virtual ~APConfig() = default;

  /// Fills `configurations`.
  virtual void GetSSIDCfg(SSIDConfigurations& configurations) const = 0;
};

/// All routers' configurations. One for the process.
class RouterManager {
 public:
  virtual ~RouterManager() = default;

  /// The one router manager; it outlives the plug-in.
  static RouterManager& GetInstance();

  /// The configuration of the router of this MAC; null when there is no such router.
  virtual std::shared_ptr<RouterConfig> GetRouterConfig(const std::string& mac) = 0;
};

/// All access points' configurations. One for the process.
class APManager {
 public:
  virtual ~APManager() = default;

  /// The one access-point manager; it outlives the plug-in.
  static APManager& GetInstance();

  /// The configuration of the access point of this MAC; null when there is no such access point.
  virtual std::shared_ptr<APConfig> GetAPConfig(const std::string& mac) = 0;
};
