#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>

/// What the device centre knows about devices, as plain records.
///
/// Texts come from devices and from the air: they may be empty, and they may hold any octets. Octet counters have 64
/// bits and restart at 0 when the device does. The numbers of enumerators are part of the contract.
///
/// Owner:   whoever holds a record; shared records are constant.
/// Threads: none of their own. A record that one thread fills becomes visible to others by the host's own locks.
namespace vexora_probe::models::controller {

/// What kind of device it is.
enum class DeviceType : std::int32_t {
  kUnknown = 0,      ///< Not known, or none of the others.
  kRouter = 1,       ///< A router, with or without a wireless side; configured through `RouterManager`.
  kAccessPoint = 2,  ///< A wireless access point; configured through `APManager`.
  kSwitch = 3,       ///< A switch.
};

/// The radio band. A record that nobody filled has the unknown band, which is neither of the two.
enum class WIFIBandType : std::int32_t {
  kUnknown = -1,  ///< Not known, or another band.
  k2_4GHz = 0,    ///< 2.4 GHz.
  k5GHz = 1,      ///< 5 GHz.
};

/// The operating mode of a client's connection; other numbers are unknown modes. Source: IEEE Std 802.11.
enum class WIFIOpMode : std::int32_t {
  k802_11a = 0,   ///< 802.11a: 5 GHz, up to 54 Mbit/s.
  k802_11n = 5,   ///< 802.11n: either band.
  k802_11b = 6,   ///< 802.11b: 2.4 GHz, up to 11 Mbit/s.
  k802_11g = 7,   ///< 802.11g: 2.4 GHz, up to 54 Mbit/s.
  k802_11ac = 8,  ///< 802.11ac: 5 GHz.
};

/// The security mode of an SSID; other numbers are unknown modes.
enum class SecModeType : std::int32_t {
  kNone = 0,           ///< An open network.
  kWpaPersonal = 3,    ///< WPA with one passphrase for all.
  kWpaEnterprise = 4,  ///< WPA with a login for each user (IEEE 802.1X).
};

/// `oper_status` of an interface that is in operation. Source: RFC 2863, ifOperStatus.
inline constexpr std::int32_t kOperStatusUp = 1;

/// The counters of one interface at one reading.
struct TrafficStats {
  std::int32_t if_index = 0;    ///< RFC 2863, ifIndex; 0 when the device has none.
  std::uint64_t in_bytes = 0;   ///< Octets received since the counter restarted. RFC 2863, ifHCInOctets.
  std::uint64_t out_bytes = 0;  ///< Octets sent, likewise. RFC 2863, ifHCOutOctets.
};

/// One interface at one reading.
struct InterfaceState {
  std::int32_t oper_status = kOperStatusUp;     ///< RFC 2863, ifOperStatus: 1 up, 2 down, and so on to 7.
  std::shared_ptr<const TrafficStats> traffic;  ///< Null when the device gives no statistics for it.
};

/// Interface name -> its state. A state may be null: the device has the interface, but said nothing about it.
using InterfaceStates = std::map<std::string, std::shared_ptr<const InterfaceState>>;

/// One client associated with an SSID interface.
struct AssocClientState {
  std::string mac;                         ///< As the device writes it, in any notation.
  std::string hostname;                    ///< The client's name wherever one is shown; empty when unknown.
  WIFIOpMode mode = WIFIOpMode::k802_11a;  ///< Operating mode of its connection.
  std::int32_t data_rate = 0;              ///< In the device's own unit, usually Mbit/s; passed on unchanged.
  std::uint64_t in_bytes = 0;              ///< The first counter: octets from the client, its upload.
  std::uint64_t out_bytes = 0;             ///< The second counter: octets to the client, its download.
};

/// One SSID interface: one wireless network on one radio of one device.
struct SSIDIfState {
  std::string ssid;                             ///< Up to 32 free octets; empty for an interface without a network.
  std::string radio;                            ///< Name of the radio interface that carries it.
  std::shared_ptr<const TrafficStats> traffic;  ///< Null when the device gives no statistics for it.
  std::int32_t client_count = 0;                ///< Clients associated, by the device's own count.
  std::list<AssocClientState> clients;          ///< The clients, in the device's order.
};

/// SSID interface name -> its state. One reading of a device.
using SSIDInterfaceStates = std::map<std::string, SSIDIfState>;

/// One radio of a device.
struct RadioIfState {
  WIFIBandType band = WIFIBandType::kUnknown;  ///< The band that it works in.
};

/// One user who signed in at a captive portal.
struct PortalUser {
  std::string username;         ///< Name given to the portal; empty when none was.
  std::string hostname;         ///< Host name as the portal knows it.
  std::uint64_t in_bytes = 0;   ///< Octets from the client, its upload.
  std::uint64_t out_bytes = 0;  ///< Octets to the client, its download.
};

/// The configuration of one SSID.
struct SSIDCfg {
  std::string name;                                ///< The SSID.
  SecModeType security_mode = SecModeType::kNone;  ///< How clients authenticate.
  bool guest = false;                              ///< A guest network: its clients come through a captive portal.
};

/// Who a device is.
struct BasicInfo {
  std::string mac;                         ///< The device id; empty when nothing is known.
  std::string hostname;                    ///< The device name wherever one is shown; empty when unknown.
  std::string ip;                          ///< Management address, textual; empty when unknown.
  DeviceType type = DeviceType::kUnknown;  ///< What kind of device it is.
};

/// What a device runs on.
struct PlatformInfo {
  std::string model;    ///< Model name; empty when unknown.
  std::string version;  ///< Firmware version; empty when unknown.
};

/// One access point in a device's scan table, the network's own or another's. One that is not trusted is a rogue access
/// point.
struct NeighboringAP {
  std::string mac;                             ///< BSSID.
  std::string ssid;                            ///< Up to 32 free octets; empty for a hidden network.
  std::int32_t trusted = 0;                    ///< Non-zero when the administrator trusts it.
  WIFIBandType band = WIFIBandType::kUnknown;  ///< Band that it was heard in.
  std::int32_t channel = 0;                    ///< Channel number. IEEE Std 802.11.
  std::int32_t signal = 0;                     ///< Signal level in dBm.
};

/// A device's load.
struct HwResources {
  std::int32_t cpu = -1;  ///< CPU use in percent; -1 when it is not known.
};

/// A device's own clock.
struct DeviceClock {
  std::int32_t uptime = -1;  ///< Time since the device started, in seconds; -1 when it is not known.
};

/// The host's overall judgement of a device.
struct HealthState {
  std::int32_t level = 0;  ///< 1 to 4, greater is worse; 0 when nothing is known.
};

}  // namespace vexora_probe::models::controller
