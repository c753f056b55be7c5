#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/device_records.h"

namespace probe::snmp {

/// What one poll of one device gave, as its profile understands it: plain records, before any arithmetic over time.
///
/// A table that did not answer is nothing; one that answered without rows is empty. A figure that the device did not
/// give is nothing, never 0. Texts are free octets.

/// A counter of octets at one reading. It restarts when the device does.
struct OctetCounter {
  std::uint64_t value = 0;
  bool is_64bit = true;  ///< Counter64; else Counter32, which wraps at 2^32.

  bool operator==(const OctetCounter&) const = default;
};

/// `oper_status` of an interface of which the device does not tell it. Source: RFC 2863, ifOperStatus.
inline constexpr std::int32_t kOperStatusUnknown = 4;

/// One interface. Source: RFC 2863, ifTable and ifXTable.
struct InterfaceReading {
  std::uint32_t if_index = 0;
  std::string name;                                  ///< ifName, else ifDescr; as the device gives it, not yet unique.
  std::int32_t oper_status = kOperStatusUnknown;     ///< ifOperStatus.
  std::optional<OctetCounter> in_octets;             ///< ifHCInOctets, else ifInOctets.
  std::optional<OctetCounter> out_octets;            ///< ifHCOutOctets, else ifOutOctets.
  std::optional<std::uint32_t> discontinuity_ticks;  ///< ifCounterDiscontinuityTime, in hundredths of a second.
  std::optional<std::uint64_t> bits_per_second;      ///< ifHighSpeed, else ifSpeed; 0 and the sentinel are nothing.
  std::string mac;                                   ///< ifPhysAddress, "02:fc:00:00:00:01"; empty for none.
  std::int32_t type = 0;                             ///< ifType (IANAifType); 0 when not given.
};

/// One radio.
struct RadioReading {
  std::string name;  ///< Unique in the device.
  vexora_probe::models::controller::WIFIBandType band = vexora_probe::models::controller::WIFIBandType::kUnknown;
  std::optional<std::int32_t> channel;  ///< IEEE Std 802.11.
  std::optional<std::int32_t> noise_dbm;
  std::optional<std::int32_t> client_count;
};

/// One SSID interface: one wireless network on one radio.
struct SsidReading {
  std::string name;  ///< Unique in the device; that of the interface where the device has one for it.
  std::string ssid;
  std::string radio;                         ///< A radio's name; empty when unknown.
  std::string bssid;                         ///< "02:fc:00:00:00:01"; empty when unknown.
  std::optional<std::int32_t> client_count;  ///< By the table that the profile names as the truth.
  std::optional<OctetCounter> in_octets;     ///< From clients.
  std::optional<OctetCounter> out_octets;    ///< To clients.
};

/// One client of a wireless network.
struct StationReading {
  std::string mac;                         ///< "02:fc:00:00:00:01".
  std::string ssid_interface;              ///< `SsidReading::name`; empty when the device does not say.
  std::string hostname;                    ///< Empty when unknown.
  std::optional<OctetCounter> in_octets;   ///< From the client.
  std::optional<OctetCounter> out_octets;  ///< To the client.
  std::optional<std::int32_t> signal_dbm;
  std::optional<std::int32_t> data_rate;  ///< Mbit/s.
  vexora_probe::models::controller::WIFIOpMode mode = static_cast<vexora_probe::models::controller::WIFIOpMode>(-1);
};

/// One user of the captive portal.
struct PortalUserReading {
  std::string mac;
  std::string username;
  std::string hostname;
  std::optional<OctetCounter> in_octets;
  std::optional<OctetCounter> out_octets;
};

/// The device as a whole.
struct SystemReading {
  std::string description;                        ///< sysDescr.
  std::string object_id;                          ///< sysObjectID, "1.3.6.1.4.1.8072.3.2.10".
  std::string name;                               ///< sysName.
  std::optional<std::uint32_t> sys_uptime_ticks;  ///< sysUpTime, hundredths of a second; wraps after 497 days.
  std::optional<std::uint32_t>
      host_uptime_ticks;                        ///< hrSystemUptime, likewise; since the machine, not its agent, began.
  std::optional<std::uint32_t> engine_seconds;  ///< snmpEngineTime, since the agent's engine began.
  std::optional<std::uint64_t> profile_uptime_seconds;  ///< An uptime that the maker's own objects give.
  std::int64_t profile_uptime_wrap_ticks = 0;  ///< Hundredths of a second after which it begins anew; 0: it does not.
  std::optional<std::int32_t> cpu_percent;
  std::string model;
  std::string version;
  std::string mac;          ///< As the profile found it; "02:fc:00:00:00:01", empty when it did not.
  bool mac_failed = false;  ///< Whether it is empty because a table did not answer that may hold it.
  vexora_probe::models::controller::DeviceType type = vexora_probe::models::controller::DeviceType::kUnknown;
  bool is_wireless = false;         ///< Whether the profile reads anything wireless.
  bool lists_clients = false;       ///< Whether the device tells which clients it has; else at most how many.
  bool lists_portal_users = false;  ///< Whether the profile knows of a table of them; else it reads an empty one.
  bool lists_neighbours = false;    ///< Likewise.
};

/// A table that was read, or nothing where it did not answer.
template <typename Row>
using TableReading = std::optional<std::vector<Row>>;

/// One poll of one device.
struct Reading {
  SystemReading system;
  TableReading<InterfaceReading> interfaces;
  TableReading<RadioReading> radios;
  TableReading<SsidReading> ssids;
  TableReading<StationReading> stations;
  TableReading<PortalUserReading> portal_users;
  TableReading<vexora_probe::models::controller::NeighboringAP> neighbours;
  std::vector<std::string> errors;  ///< One plain sentence for each table that did not answer or was cut short.
};

}  // namespace probe::snmp
