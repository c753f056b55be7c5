#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/device_records.h"  // IWYU pragma: export

// The configuration of routers and access points. The plug-in calls the host.
//
// Holds for every call below, unless its own comment says something else:
// Owner:   results are copies or shared objects that the host doesn't change after it has handed them out.
// Threads: any thread, also with the plug-in's locks held: no call may wait for the network, call back into the
//          plug-in, or wait for a thread that may be inside it.
// Fails:   never throws, but for `std::bad_alloc`, which the plug-in survives.

/// SSID key -> its configuration.
///
/// A key is the SSID name, "@" and the radio's name (the one that `SSIDIfState::radio` gives), or the SSID name and
/// "@BOTH" for a configuration that holds on both radios.
using SSIDConfigurations = std::map<std::string, vexora_probe::models::controller::SSIDCfg>;

/// The configuration of one router. The host derives from it.
///
/// Owner:   shared; the plug-in keeps it for no longer than it reads from it.
class RouterConfig {
 public:
  virtual ~RouterConfig() = default;

  /// Fills `configurations`, which is empty at the call, with the router's own SSIDs.
  ///
  /// Fails: leaves it empty when the router has no wireless side, or its configuration is not known.
  virtual void GetSSIDCfg(SSIDConfigurations& configurations) const = 0;

  /// What `GetSSIDCfg` gives, as a record that is shared instead of copied; never null.
  ///
  /// A host whose configurations are records that never change overrides it. The plug-in asks in this way only; what
  /// stands here copies.
  ///
  /// Owner: shared with the caller, who keeps it for no longer than one question.
  virtual std::shared_ptr<const SSIDConfigurations> SharedSSIDCfg() const {
    auto configurations = std::make_shared<SSIDConfigurations>();
    GetSSIDCfg(*configurations);
    return configurations;
  }
};

/// The configuration of one access point. The host derives from it.
///
/// Owner:   shared; the plug-in keeps it for no longer than it reads from it.
class APConfig {
 public:
  virtual ~APConfig() = default;

  /// Fills `configurations`, which is empty at the call, with the access point's SSIDs.
  ///
  /// Fails: leaves it empty when the configuration is not known.
  virtual void GetSSIDCfg(SSIDConfigurations& configurations) const = 0;

  /// What `GetSSIDCfg` gives, as a record that is shared instead of copied; never null. As for `RouterConfig`.
  virtual std::shared_ptr<const SSIDConfigurations> SharedSSIDCfg() const {
    auto configurations = std::make_shared<SSIDConfigurations>();
    GetSSIDCfg(*configurations);
    return configurations;
  }
};

/// All routers' configurations. One for the process; the host derives from it.
class RouterManager {
 public:
  virtual ~RouterManager() = default;

  /// The one router manager. The host defines this function.
  ///
  /// Owner: the host; it outlives the plug-in.
  static RouterManager& GetInstance();

  /// The configuration of the router of this MAC, a device id as `DeviceManager` gives it, compared octet by octet.
  ///
  /// Fails: null when there is no such router.
  virtual std::shared_ptr<RouterConfig> GetRouterConfig(const std::string& mac) = 0;
};

/// All access points' configurations. One for the process; the host derives from it.
class APManager {
 public:
  virtual ~APManager() = default;

  /// The one access-point manager. The host defines this function.
  ///
  /// Owner: the host; it outlives the plug-in.
  static APManager& GetInstance();

  /// The configuration of the access point of this MAC, a device id as `DeviceManager` gives it, compared octet by
  /// octet.
  ///
  /// Fails: null when there is no such access point.
  virtual std::shared_ptr<APConfig> GetAPConfig(const std::string& mac) = 0;
};
