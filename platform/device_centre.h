#pragma once

#include <ctime>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/device_records.h"  // IWYU pragma: export

// The device centre: which devices there are and what each of them last reported. The plug-in calls the host.
//
// Holds for every call below, unless its own comment says something else:
// Owner:   results are copies, or shared records that the host never changes after it has handed them out.
// Threads: any thread, also while the host stores a new state of the device. No call may wait for the network,
//          and none may call back into the plug-in or wait for a thread that may be inside it: some are made
//          with its locks held.
// Fails:   never throws, but for `std::bad_alloc`, which the plug-in survives. A device that has not reported something
//          gives an empty map, list or default record.
//
// A parameter `mac` is a device id: the text that `GetOnlineManagedDevices` gives, compared octet by octet.

/// The object through which the host talks to a device of one make. The host derives from it.
///
/// Owner:   shared; the plug-in keeps it for no longer than one question.
class Driver {
 public:
  virtual ~Driver() = default;

  /// Whether the device has a wireless side. When it is false, no monitor collects anything wireless from the device.
  virtual bool IsWirelessSupported() const = 0;
};

/// One managed device, and what it last reported. The host derives from it.
///
/// Owner:   shared; the plug-in asks for it anew in every pass and keeps it for no longer.
class Device {
 public:
  virtual ~Device() = default;

  /// The driver that serves the device; null while none does, and then nothing is collected from the device.
  virtual std::shared_ptr<Driver> driver() const = 0;

  /// Who the device is: its id, name, address and type.
  ///
  /// Fails: a default record when that is not known.
  virtual vexora_probe::models::controller::BasicInfo basic_info() const = 0;

  /// The state of all interfaces of the device, as one consistent reading; `sampled_at` becomes its time.
  ///
  /// The time tells readings apart: an equal time means the same reading, from which no speed may be computed. Report
  /// when the counters were read, not when they are asked for.
  ///
  /// Units:   `sampled_at` in seconds since the epoch, by the device's clock, which may step. Counters in octets.
  /// Fails:   a device that never answered gives an empty map; what `sampled_at` is then does not matter.
  /// Source:  RFC 2863, ifHCInOctets and ifHCOutOctets.
  virtual vexora_probe::models::controller::InterfaceStates get_all_interfaces_state(time_t& sampled_at) const = 0;

  /// Fills `states`, which is empty at the call, with interface name -> SSID interface.
  ///
  /// The names are those of `get_all_interfaces_state` where the device counts SSID interfaces among its interfaces.
  virtual void get_ssid_interfaces_state(
      std::map<std::string, vexora_probe::models::controller::SSIDIfState>& states) const = 0;

  /// Fills `states`, which is empty at the call, with radio name -> radio.
  ///
  /// The names are those that `SSIDIfState::radio` gives.
  virtual void get_radio_interfaces_state(
      std::map<std::string, vexora_probe::models::controller::RadioIfState>& states) const = 0;

  /// The SSID that the interface of this name carries, and the band of its radio.
  ///
  /// `radio` becomes a number of `WIFIBandType`: 0 for 2.4 GHz, 1 for 5 GHz and -1 for an unknown band.
  ///
  /// Fails: an interface that is no SSID interface gives an empty `ssid` and -1.
  virtual void get_ssid_radio(const std::string& interface, std::string& ssid, int& radio) const = 0;

  /// The name of the radio that carries the SSID interface of this name.
  ///
  /// Fails: an interface that is no SSID interface gives an empty `radio_name`.
  virtual void get_ssid_radio(const std::string& interface, std::string& radio_name) const = 0;

  /// When the device last read the counters of its SSID interfaces and their clients.
  ///
  /// Equal times mean the same reading.
  ///
  /// Units: seconds since the epoch, by the device's clock, which may step.
  /// Fails: a device that never answered may give any time.
  virtual time_t if_state_polling_time() const = 0;

  /// The users of the captive portal: client MAC -> user.
  ///
  /// The MAC is written exactly as the device writes it in `AssocClientState::mac`, for that is how users are found.
  virtual std::map<std::string, vexora_probe::models::controller::PortalUser> portal_state() const = 0;

  /// The access points that the device heard in its latest scan, in the scan's order.
  ///
  /// Fails: an empty list when there is no scan.
  virtual std::list<vexora_probe::models::controller::NeighboringAP> neighboring_ap_tbl() const = 0;

  /// The device's load; -1 in it stands for what is not known.
  virtual vexora_probe::models::controller::HwResources hw_resources() const = 0;

  /// The time since the device started; -1 in it when that is not known.
  virtual vexora_probe::models::controller::DeviceClock clock() const = 0;

  /// The host's overall judgement of the device.
  virtual vexora_probe::models::controller::HealthState health_state() const = 0;

  /// What `get_ssid_interfaces_state` gives, as a record that is shared instead of copied; never null.
  ///
  /// A host whose readings are records that never change overrides it, and saves three copies of every client in each
  /// pass. The plug-in asks for the reading in this way only; what stands here copies.
  ///
  /// Owner: shared with the caller, who keeps it for no longer than one question.
  virtual std::shared_ptr<const vexora_probe::models::controller::SSIDInterfaceStates> shared_ssid_interfaces_state()
      const {
    auto states = std::make_shared<vexora_probe::models::controller::SSIDInterfaceStates>();
    get_ssid_interfaces_state(*states);
    return states;
  }

  /// What `get_all_interfaces_state` gives, as a record that is shared instead of copied; never null. Likewise.
  virtual std::shared_ptr<const vexora_probe::models::controller::InterfaceStates> shared_interfaces_state(
      time_t& sampled_at) const {
    return std::make_shared<vexora_probe::models::controller::InterfaceStates>(get_all_interfaces_state(sampled_at));
  }
};

/// The register of all devices. One for the process; the host derives from it.
class DeviceManager {
 public:
  virtual ~DeviceManager() = default;

  /// The one device manager. The host defines this function.
  ///
  /// Owner: the host; it outlives the plug-in.
  static DeviceManager& GetInstance();

  /// The MACs of the managed devices, in an order that stays the same from call to call.
  ///
  /// `online_only` leaves out the devices that don't answer at present.
  virtual std::vector<std::string> GetOnlineManagedDevices(bool online_only) = 0;

  /// The device of this MAC.
  ///
  /// Owner: shared with the caller, who lets go of it at the end of the pass or of the call.
  /// Fails: null when there is none.
  virtual std::shared_ptr<Device> device(const std::string& mac) = 0;

  /// Device MAC -> who it is; a device of which nothing is known is left out.
  ///
  /// An empty `mac` asks for all devices, any other for that device. `online_only` leaves out the devices that don't
  /// answer at present.
  virtual std::map<std::string, vexora_probe::models::controller::BasicInfo> GetDevicesBasicInfo(const std::string& mac,
                                                                                                 bool online_only) = 0;

  /// Device MAC -> what it runs on; a device of which nothing is known is left out.
  ///
  /// Arguments as for `GetDevicesBasicInfo`.
  virtual std::map<std::string, vexora_probe::models::controller::PlatformInfo> GetDevicePlatformInfo(
      const std::string& mac, bool online_only) = 0;

  /// The class of a device in words: "Unknown", "Router", "AccessPoint", "Switch". The host defines this function.
  ///
  /// Fails: "Unknown" for a number that is none of the enumeration.
  static std::string GetDeviceTypeStr(vexora_probe::models::controller::DeviceType type);
};
