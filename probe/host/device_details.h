#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace probe {

/// How urgent a notification is. The contract counts the open ones of a device by these three.
enum class Severity { kInfo, kWarning, kAlert };

/// Something that a device or its source has to say to people.
struct Notification {
  Severity severity = Severity::kInfo;
  std::string text;  ///< One plain sentence; free octets, for it may come from the device.
  time_t since = 0;  ///< Since when it holds, by the probe's clock. Later readings need not repeat it.
};

/// What this host knows of a device beside what the contract carries, for people. It is neither recorded nor kept in
/// the journal: the source tells it anew with each reading.
struct DeviceDetails {
  std::map<std::string, std::uint64_t> port_speeds;    ///< Interface -> bit/s of its link; without those not known.
  std::map<std::string, std::int32_t> channels;        ///< Radio -> channel (IEEE Std 802.11); likewise.
  std::map<std::string, std::int32_t> client_signals;  ///< Client MAC as in the snapshot -> dBm; likewise.
  std::vector<Notification> notifications;             ///< The open ones, as far as there is room for them.

  // For the contract, what a device does not tell is 0 or empty.
  bool tells_notifications = true;
  bool tells_clients = true;  ///< How many wireless clients it has.
  bool lists_clients = true;  ///< Whether this reading has the list of them, be it empty, and does not only count.
  bool tells_portal_users = true;
  bool tells_neighbours = true;
  std::optional<std::int32_t> clients;  ///< How many, by its own count; nothing: those of its SSIDs.
};

}  // namespace probe
