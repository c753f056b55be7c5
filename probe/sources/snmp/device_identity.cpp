#include "probe/sources/snmp/device_identity.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <set>
#include <tuple>

#include "platform/utilities/text.h"
#include "probe/text/local_mac.h"

namespace probe::snmp {
namespace {

constexpr std::int32_t kEthernet = 6;  // IANAifType-MIB, ethernetCsmacd

/// The address in the one notation; empty for what is not the address of a single interface.
std::string UsableMac(const std::string& mac) {
  constexpr std::size_t kLength = 17;
  std::string text = format_macaddress(mac);
  if (text.size() != kLength || text[2] != ':' || text == "00:00:00:00:00:00") return {};
  // The lowest bit of the first octet tells the address of a group.
  const bool is_group = std::string_view("13579BDF").find(text[1]) != std::string_view::npos;
  return is_group ? std::string() : text;
}

std::string InterfaceMac(const std::vector<InterfaceReading>& rows) {
  // Ethernet first, then by ifIndex.
  std::optional<std::tuple<bool, std::uint32_t, std::string>> first;
  for (const InterfaceReading& row : rows) {
    std::string mac = UsableMac(row.mac);
    if (mac.empty()) continue;
    std::tuple candidate(row.type != kEthernet, row.if_index, std::move(mac));
    if (!first || candidate < *first) first = std::move(candidate);
  }
  return first ? std::get<2>(*first) : std::string();
}

std::string LowestBssid(const std::vector<SsidReading>& rows) {
  std::string lowest;
  for (const SsidReading& row : rows) {
    const std::string mac = UsableMac(row.bssid);
    if (!mac.empty() && (lowest.empty() || mac < lowest)) lowest = mac;
  }
  return lowest;
}

}  // namespace

std::optional<std::string> FindDeviceMac(const DeviceSettings& settings, const Reading& reading, bool is_last_try) {
  if (!settings.mac.empty()) return format_macaddress(settings.mac);
  if (std::string mac = UsableMac(reading.system.mac); !mac.empty()) return mac;
  if (reading.system.mac_failed && !is_last_try) return std::nullopt;
  // An agent that shows nothing of itself is about to start, or lets us see nothing yet. Otherwise, and without a
  // failure, a table that is not there is one that the profile does not read.
  const bool is_blank = reading.system.object_id.empty() && reading.system.name.empty();
  const bool may_come = (is_blank || !reading.errors.empty()) && !is_last_try;
  if (is_blank && may_come) return std::nullopt;
  if (!reading.interfaces && may_come) return std::nullopt;
  if (reading.interfaces) {
    if (std::string mac = InterfaceMac(*reading.interfaces); !mac.empty()) return mac;
  }
  if (!reading.ssids && may_come) return std::nullopt;
  if (reading.ssids) {
    if (std::string mac = LowestBssid(*reading.ssids); !mac.empty()) return mac;
  }
  return LocalMac(settings.address + ":" + std::to_string(settings.port));
}

std::vector<std::string> InterfaceNames(const std::vector<InterfaceReading>& rows) {
  std::vector<std::string> names;
  std::set<std::string> taken;
  for (const InterfaceReading& row : rows) {
    std::string name = row.name;
    if (name.empty()) name = "interface " + std::to_string(row.if_index);
    if (kro_utilities::string_con::IsInteger(name)) name.insert(0, "port ");
    taken.insert(name);
    names.push_back(std::move(name));
  }
  std::vector<std::size_t> order(rows.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](std::size_t left, std::size_t right) {
    return std::tie(names[left], rows[left].if_index) < std::tie(names[right], rows[right].if_index);
  });
  std::string last;
  unsigned number = 1;
  for (const std::size_t row : order) {
    if (names[row] != last) {
      last = names[row];
      number = 1;
      continue;
    }
    // The name may be one that another row has by itself.
    do names[row] = last + " (" + std::to_string(++number) + ")";
    while (!taken.insert(names[row]).second);
  }
  return names;
}

}  // namespace probe::snmp
