#pragma once

#include <ctime>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/device_records.h"

// The device centre: which devices there are and what each of them last reported. The plug-in calls the host.
//
// What holds for every call below, unless it says otherwise:
// Owner:   results are copies, or shared records that the host never changes after it has handed them out.
// Threads: any thread, also while the host takes in news from the device. No call may wait for the network,
//          and none may call back into the plug-in or wait for a thread that may be inside it: some are made
//          with its locks held.
// Fails:   never throws. A device that has not reported something gives an empty map, list or default record.

/// The object through which the host talks to a device of one make.
class Driver {
 public:
  virtual ~Driver() = default;

  /// Whether the device has a wireless side whose state is to be collected. Gates all wireless monitoring.
  virtual bool IsWirelessSupported() const = 0;
};

/// One managed device, and what it last reported.
class Device {
 public:
  virtual ~Device() = default;

  /// The driver that serves the device; null while none does, and then nothing is collected from the device.
  virtual std::shared_ptr<Driver> driver() const = 0;

  /// Who the device is. Empty when that is not known.
  virtual vexora_probe::models::controller::BasicInfo basic_info() const = 0;

  /// The state of all interfaces of the device, as one consistent reading.
  ///
  /// `sampled_at` tells readings apart: an equal time means the same reading, from which no speed may be computed.
  ///
  /// Units:   `sampled_at` in seconds since the epoch, by the device's clock, which may step.
  /// Fails:   a device that never answered gives an empty map; what `sampled_at` is then does not matter.
  /// Source:  RFC 2863, ifHCInOctets and ifHCOutOctets.
  virtual vexora_probe::models::controller::InterfaceStates get_all_interfaces_state(time_t& sampled_at) const = 0;

  /// Fills `states` with interface name -> SSID interface.
  virtual void get_ssid_interfaces_state(
      std::map<std::string, vexora_probe::models::controller::SSIDIfState>& states) const = 0;

  /// Fills `states` with radio name -> radio. The names are those that `SSIDIfState::radio` gives.
  virtual void get_radio_interfaces_state(
      std::map<std::string, vexora_probe::models::controller::RadioIfState>& states) const = 0;

  /// The SSID that an interface carries, and the band of its radio.
  ///
  /// `radio` becomes 0 for 2.4 GHz, 1 for 5 GHz and -1 for an unknown band.
  /// Fails: an interface that is no SSID interface gives an empty `ssid` and -1.
  virtual void get_ssid_radio(const std::string& interface, std::string& ssid, int& radio) const = 0;

  /// The name of the radio that carries an SSID interface.
  ///
  /// Fails: an interface that is no SSID interface gives an empty `radio_name`.
  virtual void get_ssid_radio(const std::string& interface, std::string& radio_name) const = 0;

  /// When the device last read its interface counters. Units: seconds since the epoch, by the device's clock.
  virtual time_t if_state_polling_time() const = 0;

  /// The users of the captive portal: client MAC, exactly as the device writes it in `AssocClientState`, -> user.
  virtual std::map<std::string, vexora_probe::models::controller::PortalUser> portal_state() const = 0;

  /// The access points that the device heard in its latest scan, in the scan's order. Empty when there is no scan.
  virtual std::list<vexora_probe::models::controller::NeighboringAP> neighboring_ap_tbl() const = 0;

  /// The device's load.
  virtual vexora_probe::models::controller::HwResources hw_resources() const = 0;

  /// The device's own clock.
  virtual vexora_probe::models::controller::DeviceClock clock() const = 0;

  /// The host's judgement of the device.
  virtual vexora_probe::models::controller::HealthState health_state() const = 0;
};

/// The register of all devices. One for the process.
class DeviceManager {
 public:
  virtual ~DeviceManager() = default;

  /// The one device manager; it outlives the plug-in.
  static DeviceManager& GetInstance();

  /// The MACs of the managed devices, in an order that stays the same from call to call.
  ///
  /// `online_only` leaves out the devices that don't answer at present.
  virtual std::vector<std::string> GetOnlineManagedDevices(bool online_only) = 0;

  /// The device of this MAC, compared octet by octet; null when there is none.
  virtual std::shared_ptr<Device> device(const std::string& mac) = 0;

  /// Device MAC -> who it is; a device of which nothing is known is left out.
  ///
  /// An empty `mac` asks for all devices, any other for that device. `online_only` as above.
  virtual std::map<std::string, vexora_probe::models::controller::BasicInfo> GetDevicesBasicInfo(const std::string& mac,
                                                                                                 bool online_only) = 0;

  /// Device MAC -> what it runs on; arguments as for `GetDevicesBasicInfo`.
  virtual std::map<std::string, vexora_probe::models::controller::PlatformInfo> GetDevicePlatformInfo(
      const std::string& mac, bool online_only) = 0;

  /// The class of a device in words: "Unknown", "Router", "AccessPoint", "Switch".
  static std::string GetDeviceTypeStr(vexora_probe::models::controller::DeviceType type);
};
