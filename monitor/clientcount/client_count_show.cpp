#include "monitor/clientcount/client_count_show.h"

#include <utility>

#include "monitor/engine/json_keys.h"

namespace monitoring::clientcount {

void AddSamples(const JsonTree& object, const Series& series) {
  for (const auto& [minute, count] : series) Add(object, std::to_string(minute), NewInteger(count));
}

JsonTree SamplesObject(const Series& series) {
  JsonTree object = NewObject();
  AddSamples(object, series);
  return object;
}

JsonTree CurrentSsidsObject(const CountById& counts) {
  JsonTree ssids = NewObject();
  for (const auto& [ssid, count] : counts) {
    JsonTree object = NewObject();
    Add(object, json_key::kCount, NewInteger(count));
    Add(ssids, ssid, std::move(object));
  }
  return ssids;
}

JsonTree CurrentDevicesObject(const CurrentCounts& counts) {
  JsonTree devices = NewObject();
  for (const auto& [mac, counts_by_ssid] : counts) {
    JsonTree ssids = NewObject();
    for (const auto& [ssid, current] : counts_by_ssid) {
      JsonTree object = NewObject();
      Add(object, json_key::kSsid, NewText(ssid));
      Add(object, json_key::kCount, NewInteger(current.count));
      Add(ssids, ssid, std::move(object));
    }
    Add(devices, mac, std::move(ssids));
  }
  return devices;
}

}  // namespace monitoring::clientcount
