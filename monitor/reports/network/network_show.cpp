#include "monitor/reports/network/network_show.h"

#include <utility>

#include "monitor/engine/constants.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/monitor.h"
#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_keys.h"
#include "platform/device_records.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

namespace json_key = monitoring::json_key;
using models::controller::SecModeType;
using monitoring::Add;
using monitoring::Append;
using monitoring::JsonTree;
using monitoring::NewArray;
using monitoring::NewBoolean;
using monitoring::NewInteger;
using monitoring::NewObject;
using monitoring::NewReal;
using monitoring::NewText;

constexpr const char* kHidden = "<hidden>";

const char* SecurityName(SecModeType mode) {
  switch (mode) {
    case SecModeType::kNone:
      return "None";
    case SecModeType::kWpaPersonal:
      return "WPA/PSK";
    case SecModeType::kWpaEnterprise:
      return "WPA/ENT";
    default:
      return "Unknown";
  }
}

JsonTree RogueAPObject(const RogueAPs& rogue) {
  JsonTree object = NewObject();
  Add(object, json_key::kMac, NewText(rogue.mac));
  Add(object, json_key::kNetworks, NewText(rogue.ssid.empty() ? kHidden : rogue.ssid));
  Add(object, json_key::kFirstSeen, NewText(Monitor::GetDateTimeStr(static_cast<long>(rogue.first_seen))));
  Add(object, json_key::kLastSeen, NewText(Monitor::GetDateTimeStr(static_cast<long>(rogue.last_seen))));
  Add(object, json_key::kTotalTime, NewInteger(rogue.total_time));
  Add(object, json_key::kChannel, NewText(std::to_string(rogue.channel) + " (" + rogue.radio_type + ")"));
  Add(object, json_key::kAverageStrength, NewReal(rogue.average_strength));
  Add(object, json_key::kSeenBy, SeenByObject(rogue.seen_by));
  return object;
}

/// Adds client counts and traffic, the members that all measured things have.
void AddMeasured(const JsonTree& object, const AccessPoints& measured) {
  JsonTree clients = NewObject();
  Add(clients, json_key::kPeak, NewInteger(measured.client.item.peak));
  Add(clients, json_key::kAverage, NewReal(measured.client.item.average));
  Add(object, json_key::kClientCount, std::move(clients));
  JsonTree traffic = NewObject();
  Add(traffic, json_key::kPeak, NewReal(measured.traffic.peak));
  Add(traffic, json_key::kAverage, NewReal(measured.traffic.average));
  Add(object, json_key::kTraffic, std::move(traffic));
}

JsonTree SSIDObject(const std::string& name, SecModeType mode, bool guest, const AccessPoints& measured) {
  JsonTree object = NewObject();
  Add(object, json_key::kName, NewText(name));
  Add(object, json_key::kGuest, NewBoolean(guest));
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetSSIDsReport] security mode: %d",
                static_cast<int>(mode));
  Add(object, json_key::kSecurity, NewText(SecurityName(mode)));
  AddMeasured(object, measured);
  return object;
}

template <typename Periods>
JsonTree KeysOf(const Periods& periods, const char* period) {
  JsonTree keys = NewArray();
  const auto buckets = periods.find(period);
  if (buckets == periods.end()) return keys;
  for (const auto& [key, bucket] : buckets->second) Append(keys, NewText(key));
  return keys;
}

}  // namespace

JsonTree RogueAPsArray(const RogueRecords& bucket) {
  JsonTree array = NewArray();
  if (array == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GetRogueAPsReport] obj is NULL");
    return array;
  }
  for (const auto& [key, rogue] : bucket) {
    if (rogue.mac.empty()) {
      pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GetRogueAPsReport] Mac is empty");
      continue;
    }
    Append(array, RogueAPObject(rogue));
  }
  return array;
}

JsonTree SeenByObject(const std::map<std::string, std::string>& seen_by) {
  JsonTree object = NewObject();
  if (object == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GenerateSeenByString] JSON object is NULL");
    return object;
  }
  for (const auto& [mac, hostname] : seen_by) {
    if (mac.empty() || hostname.empty()) continue;
    // At error level although nothing is wrong: the level is part of the log's fixed texts.
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GenerateSeenByString] Mac: %s, hostname: %s",
                  mac.c_str(), hostname.c_str());
    Add(object, mac, NewText(hostname));
  }
  return object;
}

JsonTree AccessPointsObject(const Records& bucket) {
  JsonTree object = NewObject();
  if (object == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GetAccessPointsReport] object is NULL");
    return object;
  }
  for (const auto& [mac, record] : bucket) {
    JsonTree access_point = NewObject();
    AddMeasured(access_point, record.measured);
    Add(access_point, json_key::kApName, NewText(record.attributes.apname));
    Add(access_point, json_key::kModel, NewText(record.attributes.model));
    Add(access_point, json_key::kVersion, NewText(record.attributes.version));
    Add(object, mac, std::move(access_point));
  }
  return object;
}

JsonTree SSIDsArray(const Records& bucket) {
  JsonTree array = NewArray();
  if (array == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GetSSIDsReport] ssids is NULL");
    return array;
  }
  for (const auto& [key, record] : bucket) {
    std::string name;
    SecModeType mode = SecModeType::kNone;
    bool guest = false;
    GetAttributeFromKey(key, kHost, name, mode, guest);
    if (name.empty()) {  // also the key that could not be split
      pel_log_info(log_module::kMonitor, "[WirelessNetworkReport::GetSSIDsReport] The SSID name is empty. Key: %s",
                   key.c_str());
      continue;
    }
    Append(array, SSIDObject(name, mode, guest, record.measured));
  }
  return array;
}

JsonTree SpectrumsObject(const Records& bucket) {
  JsonTree object = NewObject();
  if (object == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GetSpectrumsReport] spectrums is NULL");
    return object;
  }
  for (const auto& [band, record] : bucket) {
    JsonTree spectrum = NewObject();
    AddMeasured(spectrum, record.measured);
    Add(object, band, std::move(spectrum));
  }
  return object;
}

JsonTree PeriodsObject(const Report& report) {
  JsonTree object = NewObject();
  Add(object, monitoring::kDaily, KeysOf(report, monitoring::kDaily));
  Add(object, monitoring::kWeekly, KeysOf(report, monitoring::kWeekly));
  return object;
}

}  // namespace vexora_probe::monitor
