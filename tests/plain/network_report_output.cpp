// The answers of the plain network report.

#include "platform/logging.h"
#include "tests/plain/json.h"
#include "tests/plain/network_report.h"

namespace plain {
namespace {

/// The bucket of a period; an empty one when there is none.
template <typename Bucket>
Bucket BucketOf(const std::string& type, const std::string& period, const std::map<std::string, Bucket>& days,
                const std::map<std::string, Bucket>& weeks) {
  if (type == "daily" && days.contains(period)) return days.at(period);
  if (type == "weekly" && weeks.contains(period)) return weeks.at(period);
  return {};
}

std::string SecurityName(int mode) {
  if (mode == 0) return "None";
  if (mode == 3) return "WPA/PSK";
  return mode == 4 ? "WPA/ENT" : "Unknown";
}

void AddMeasured(json_object* object, const Record& record) {
  json_object* clients = json_object_new_object();
  Add(clients, "peak", Integer(record.client_peak));
  Add(clients, "average", Real(record.client_mean));
  Add(object, "client_count", clients);
  json_object* traffic = json_object_new_object();
  Add(traffic, "peak", Real(record.speed_peak));
  Add(traffic, "average", Real(record.speed_mean));
  Add(object, "traffic", traffic);
}

json_object* SeenBy(const Rogue& rogue) {
  json_object* object = json_object_new_object();
  for (const auto& [mac, hostname] : rogue.seen_by) {
    if (mac.empty() || hostname.empty()) continue;
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GenerateSeenByString] Mac: %s, hostname: %s",
                  mac.c_str(), hostname.c_str());
    Add(object, mac, Text(hostname));
  }
  return object;
}

json_object* RogueArray(const std::map<std::string, Rogue>& bucket) {
  json_object* array = json_object_new_array();
  for (const auto& [key, rogue] : bucket) {
    if (rogue.mac.empty()) {
      pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GetRogueAPsReport] Mac is empty");
      continue;
    }
    json_object* object = json_object_new_object();
    Add(object, "mac", Text(rogue.mac));
    Add(object, "networks", Text(rogue.ssid.empty() ? "<hidden>" : rogue.ssid));
    Add(object, "first_seen", Text(DateTime(rogue.first_seen)));
    Add(object, "last_seen", Text(DateTime(rogue.last_seen)));
    Add(object, "total_time", Integer(rogue.seconds));
    Add(object, "channel", Text(std::to_string(rogue.channel) + " (" + rogue.band + ")"));
    Add(object, "average_strength", Real(rogue.mean_dbm));
    Add(object, "seen_by", SeenBy(rogue));
    Append(array, object);
  }
  return array;
}

json_object* AccessPointsObject(const std::map<std::string, Record>& bucket) {
  json_object* access_points = json_object_new_object();
  for (const auto& [mac, record] : bucket) {
    json_object* object = json_object_new_object();
    AddMeasured(object, record);
    Add(object, "apname", Text(record.apname));
    Add(object, "model", Text(record.model));
    Add(object, "version", Text(record.version));
    Add(access_points, mac, object);
  }
  return access_points;
}

json_object* SsidArray(const std::map<std::string, Record>& bucket) {
  json_object* array = json_object_new_array();
  for (const auto& [key, record] : bucket) {
    NetworkSample network;
    ParseSsidKey(key, network);
    if (network.name.empty()) {
      pel_log_info(log_module::kMonitor, "[WirelessNetworkReport::GetSSIDsReport] The SSID name is empty. Key: %s",
                   key.c_str());
      continue;
    }
    json_object* object = json_object_new_object();
    Add(object, "name", Text(network.name));
    Add(object, "guest", Boolean(network.is_guest));
    pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetSSIDsReport] security mode: %d",
                  network.security_mode);
    Add(object, "security", Text(SecurityName(network.security_mode)));
    AddMeasured(object, record);
    Append(array, object);
  }
  return array;
}

json_object* BandsObject(const std::map<std::string, Record>& bucket) {
  json_object* bands = json_object_new_object();
  for (const auto& [band, record] : bucket) {
    json_object* object = json_object_new_object();
    AddMeasured(object, record);
    Add(bands, band, object);
  }
  return bands;
}

std::vector<std::string> KeysOf(const Buckets& buckets) {
  std::vector<std::string> keys;
  for (const auto& [key, records] : buckets) keys.push_back(key);
  return keys;
}

}  // namespace

std::string NetworkReport::AvailablePeriods() const {
  const Json root(json_object_new_object());
  Add(root.get(), "daily", Texts(KeysOf(access_points_.days)));
  Add(root.get(), "weekly", Texts(KeysOf(access_points_.weeks)));
  return TextOf(root.get());
}

std::string NetworkReport::Report(const std::string& type, const std::string& period) const {
  const Json root(json_object_new_object());
  Add(root.get(), "rogue_ap", RogueArray(BucketOf(type, period, rogue_days_, rogue_weeks_)));
  // A period is expired when there are others of its type.
  const Buckets known = type == "daily" ? access_points_.days : type == "weekly" ? access_points_.weeks : Buckets{};
  Add(root.get(), "expire", Boolean(!known.empty() && !known.contains(period)));
  Add(root.get(), "wireless_access_points",
      AccessPointsObject(BucketOf(type, period, access_points_.days, access_points_.weeks)));
  Add(root.get(), "wireless_network", SsidArray(BucketOf(type, period, ssids_.days, ssids_.weeks)));
  Add(root.get(), "spectrum_usage", BandsObject(BucketOf(type, period, bands_.days, bands_.weeks)));
  return TextOf(root.get());
}

}  // namespace plain
