#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/device_records.h"

namespace monitoring {

/// The key of a row of the wireless client report.
struct WirelessClientKey {
  std::string mac;       ///< The client's, in the one notation of `format_macaddress`.
  std::string username;  ///< Name given to the captive portal; empty for a client that is not a guest.
  std::string ssid;      ///< The wireless network.

  /// The three fields joined by "|". Nothing is escaped: a name that holds a "|" cannot be parsed again.
  std::string GetKeyStr() const;

  /// The same of fields that are in no key.
  static std::string KeyStr(std::string_view mac, std::string_view username, std::string_view ssid);

  /// Sets the fields from such a text. Fails: returns false and keeps the fields when it does not have three parts.
  bool ParseKey(const std::string& key);

  friend bool operator==(const WirelessClientKey&, const WirelessClientKey&) = default;
};

/// One client's row for one day or one week.
struct WirelessClientItem {
  std::int32_t data_rate = 0;    ///< As last reported.
  std::uint64_t upload = 0;      ///< Octets from the client in the period.
  std::uint64_t download = 0;    ///< Octets to the client, likewise.
  time_t first_seen = 0;         ///< Time of the first pass that found the client; seconds since the epoch.
  time_t last_seen = 0;          ///< Time of the latest pass that counted it.
  std::int32_t online_time = 0;  ///< Seconds online; never more than have passed since `first_seen`.
  std::string hostname;          ///< As last reported; for guests, the portal's.
  vexora_probe::models::controller::WIFIOpMode mode{};
  vexora_probe::models::controller::WIFIBandType band = vexora_probe::models::controller::WIFIBandType::kUnknown;

  friend bool operator==(const WirelessClientItem&, const WirelessClientItem&) = default;
};

/// The counters of one client, exactly as read in one pass.
struct WirelessClientStatics {
  std::uint64_t in_bytes = 0;   ///< The first counter: octets from the client.
  std::uint64_t out_bytes = 0;  ///< The second counter: octets to the client.

  friend bool operator==(const WirelessClientStatics&, const WirelessClientStatics&) = default;
};

// Hashed, because a pass looks every client up several times, and a lookup among 50,000 in a tree takes seven times as
// long as among 1,000. Reports sort the rows.
using ClientRows = std::unordered_map<std::string, WirelessClientItem>;  ///< `GetKeyStr` -> row.

/// The rows of one day or one week.
struct ClientReport {
  ClientRows clients;  ///< Clients of networks without a portal.
  ClientRows guests;   ///< Guests that a captive portal let in.

  friend bool operator==(const ClientReport&, const ClientReport&) = default;
};

using ClientReports = std::map<std::string, ClientReport>;  ///< Day or week key -> its rows.

namespace client_report {

/// What the passes before have left of a client: its counters, and where its rows are. Passes are numbered.
struct FollowedClient {
  std::uint64_t pass = 0;         ///< The latest pass that saw the client; 0 before the first.
  time_t seen_at = 0;             ///< Its time.
  time_t seen_before_at = 0;      ///< The time of the pass that saw it before that one.
  bool was_there_before = false;  ///< Whether the pass before that one saw it, too.
  bool is_guest = false;          ///< Whether the rows below are rows of guests.
  WirelessClientStatics latest;   ///< Its counters in the latest pass.
  WirelessClientStatics before;   ///< Those in the pass before, if it was there.

  std::uint64_t generation = 0;             ///< Of the rows to which the pointers lead; of no rows when it is 0.
  WirelessClientItem* today = nullptr;      ///< Its row of the present day; null when it is left out.
  WirelessClientItem* this_week = nullptr;  ///< Its row of the present week, likewise.
};

using FollowedClients = std::unordered_map<std::string, FollowedClient>;  ///< `GetKeyStr` -> client.

/// One client, as one pass sees it on one device.
struct Sighting {
  std::string key;                 ///< `WirelessClientKey::GetKeyStr`.
  bool is_guest = false;           ///< On a guest network, let in by the portal.
  WirelessClientStatics counters;  ///< For a guest, the portal's.
  std::int32_t data_rate = 0;      ///< As the device reports it.
  std::string hostname;            ///< For a guest, the portal's.
  vexora_probe::models::controller::WIFIOpMode mode{};
  vexora_probe::models::controller::WIFIBandType band = vexora_probe::models::controller::WIFIBandType::kUnknown;
};

}  // namespace client_report
}  // namespace monitoring
