#include "probe/api/neighbours_answer.h"

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>

#include "platform/device_records.h"
#include "platform/utilities/text.h"
#include "probe/api/answers.h"
#include "probe/api/band_tree.h"
#include "probe/api/device_argument.h"
#include "probe/text/json_text.h"

namespace probe {
namespace {

namespace records = vexora_probe::models::controller;
using nlohmann::ordered_json;

/// The SSIDs that any device carries, be it offline.
std::set<std::string> OwnSsids(DeviceCentre& centre) {
  std::set<std::string> ssids;
  for (const std::string& mac : centre.GetOnlineManagedDevices(false)) {
    const auto device = centre.Snapshot(mac);
    if (device == nullptr) continue;
    for (const auto& [interface, network] : device->ssid_interfaces) ssids.insert(network.ssid);
  }
  ssids.erase("");  // those of no network, while hidden ones of others have no name either
  return ssids;
}

ordered_json NeighbourTree(const records::NeighboringAP& heard, const std::set<std::string>& own_ssids) {
  // In the contract 0 stands for what the device does not tell.
  const auto known = [](std::int32_t value) { return value == 0 ? ordered_json() : ordered_json(value); };
  return {{"bssid", format_macaddress(heard.mac)},
          {"ssid", heard.ssid},
          {"band", BandTree(heard.band)},
          {"channel", known(heard.channel)},
          {"signal", known(heard.signal)},
          {"trusted", heard.trusted != 0},
          {"own_ssid", own_ssids.contains(heard.ssid)}};
}

/// For the order: what is not known comes last.
std::int32_t StrengthOf(const records::NeighboringAP& heard) {
  return heard.signal == 0 ? std::numeric_limits<std::int32_t>::min() : heard.signal;
}

}  // namespace

HttpAnswer NeighboursAnswer(DeviceCentre& centre, const HttpRequest& request) {
  const DeviceArgument chosen = RequiredDeviceOf(centre, request);
  if (chosen.error) return *chosen.error;
  const DeviceSnapshot& device = *chosen.snapshot;
  auto heard = device.neighbours;
  heard.sort([](const auto& one, const auto& other) { return StrengthOf(one) > StrengthOf(other); });
  ordered_json trees;
  // A device without radios has no table either, whatever its source says of itself.
  if ((device.details.tells_neighbours && device.is_wireless) || !heard.empty()) {
    trees = ordered_json::array();
    const std::set<std::string> own_ssids = OwnSsids(centre);
    for (const records::NeighboringAP& one : heard) trees.push_back(NeighbourTree(one, own_ssids));
  }
  return JsonAnswer(
      Dump(ordered_json{{"mac", chosen.mac}, {"online", device.online}, {"neighbours", std::move(trees)}}),
      Caching::kRevalidate);
}

}  // namespace probe
