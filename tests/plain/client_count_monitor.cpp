#include "tests/plain/client_count_monitor.h"

#include <algorithm>

#include "platform/logging.h"
#include "tests/plain/json.h"

namespace plain {
namespace {

constexpr std::size_t kCap = 30;  // samples of a series

void DropEmpty(std::map<std::string, std::map<std::string, int>>& counts) {
  std::erase_if(counts, [](const auto& entry) { return entry.second.empty(); });
}

/// No more than one sample is dropped at a time.
void DropOldest(std::map<int, int>& series) {
  if (series.size() > kCap) series.erase(series.begin());
}

int NewestMinute(const std::map<int, int>& series) {
  return series.empty() ? 0 : series.rbegin()->first;
}

json_object* SeriesObject(const std::map<int, int>& series) {
  json_object* object = json_object_new_object();
  for (const auto& [minute, count] : series) Add(object, std::to_string(minute), Integer(count));
  return object;
}

/// Totals keep the latest minutes.
void AddTo(std::map<int, int>& totals, const std::map<int, int>& series) {
  for (const auto& [minute, count] : series) {
    totals[minute] += count;
    DropOldest(totals);
  }
}

/// A series of silence is not shown; its counts are in the totals nevertheless.
bool IsShown(const std::map<int, int>& series) {
  const auto zeroes =
      std::count_if(series.begin(), series.end(), [](const auto& sample) { return sample.second == 0; });
  return static_cast<std::size_t>(zeroes) < kCap;
}

}  // namespace

void ClientCountMonitor::Collect() {
  minute_ = static_cast<int>(Minute(now_));
  const auto macs = DeviceManager::GetInstance().GetOnlineManagedDevices(true);
  // Who is not there, or has no driver or wireless side, keeps the counts of its last time.
  for (const std::string& mac : macs) {
    if (WirelessDevice(mac) == nullptr) continue;
    device_counts_.erase(mac);
    for (auto& [ssid, devices] : ssid_counts_) devices.erase(mac);
  }
  DropEmpty(ssid_counts_);
  for (const std::string& mac : macs) {
    const auto device = WirelessDevice(mac);
    if (device != nullptr) Recount(mac, *device);
  }
}

void ClientCountMonitor::Recount(const std::string& mac, const Device& device) {
  std::map<std::string, vexora_probe::models::controller::SSIDIfState> interfaces;
  device.get_ssid_interfaces_state(interfaces);
  for (const auto& [interface, state] : interfaces) {
    const std::string& ssid = state.ssid;
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::ConvertDriverStruct] Interface name:%s",
                  interface.c_str());
    pel_log_debug(log_module::kMonitor,
                  "[ClientCountMonitor::ConvertDriverStruct] mac: %s, ssid name:%s, client count: %d", mac.c_str(),
                  ssid.c_str(), static_cast<int>(state.clients.size()));
    // An SSID without clients leaves no trace.
    if (state.clients.empty()) continue;
    device_counts_[mac][ssid] += static_cast<int>(state.clients.size());
    ssid_counts_[ssid][mac] += static_cast<int>(state.clients.size());
    ever_counted_[mac][ssid] = 0;
    carriers_[ssid][mac] = 0;
  }
}

void ClientCountMonitor::Fold() {
  for (Views* views : {&device_views_, &ssid_views_}) {
    // Who has a series and no clients has a sample of 0.
    for (auto& [id, series] : (*views)["1m"]) {
      series[minute_] = 0;
      DropOldest(series);
    }
  }
  FoldMinute(device_counts_, device_views_);
  FoldMinute(ssid_counts_, ssid_views_);
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::MergeCurrentCount] debug");
  for (const ViewStep& step : kViewSteps) {
    MergePeaks(step, ssid_views_);
    MergePeaks(step, device_views_);
  }
}

void ClientCountMonitor::FoldMinute(const Counts& counts, Views& views) const {
  for (const auto& [id, inner] : counts) {
    int total = 0;
    for (const auto& [other, count] : inner) total += count;
    views["1m"][id][minute_] = total;
  }
}

void ClientCountMonitor::MergePeaks(const ViewStep& step, Views& views) const {
  SeriesById& shorter = views[step.shorter];
  SeriesById& longer = views[step.longer];
  // Samples of the future go, for the clock was set back.
  for (auto& [id, series] : shorter) {
    while (!series.empty() && series.rbegin()->first > minute_) {
      pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::RemoveBadTimeSample] Remove junk sample");
      series.erase(std::prev(series.end()));
    }
  }
  if (!IsMergeDue(step, shorter, longer)) {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::CalculateAverage] Don't need to merge");
    return;
  }
  for (const auto& [id, series] : shorter) {
    int peak = 0;
    int number = 0;
    for (auto at = series.rbegin(); at != series.rend() && number < step.count; ++at, ++number) {
      pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::CalculateAverage] i: %d, time: %d, count: %d", number,
                    at->first, at->second);
      peak = std::max(peak, at->second);
    }
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::CalculateAverage] id: %s, max count: %d, time %d",
                  id.c_str(), peak, minute_);
    longer[id][minute_] = peak;
    DropOldest(longer[id]);
  }
}

/// The first series that is long enough and late enough has all of them merged.
bool ClientCountMonitor::IsMergeDue(const ViewStep& step, const SeriesById& shorter, const SeriesById& longer) {
  for (const auto& [id, series] : shorter) {
    const int newest = NewestMinute(series);
    const int merged = longer.contains(id) ? NewestMinute(longer.at(id)) : 0;
    if (!series.empty()) {
      pel_log_debug(log_module::kMonitor,
                    "[ClientCountMonitor::CalculateAverage] rank: %d, merge_minutes: %d, "
                    "last_collection_time_first: %d, last_collection_time_next %d",
                    step.count, step.minutes, newest, merged);
    }
    const bool is_long_enough = series.size() >= static_cast<std::size_t>(step.count);
    if (is_long_enough && std::int64_t{newest} - merged >= step.minutes) return true;
  }
  return false;
}

void ClientCountMonitor::Push(const subscribes::SubscriptionList& /*subscriptions*/) {
  for (const char* topic : {"SSIDClientCountMonitor", "DevicesClientCountMonitor"}) {
    const auto subscriptions = subscribes::SubscribesManager::GetInstance().GetSubscribeList(topic);
    for (const auto& [filter, connections] : GroupByFilter(subscriptions)) {
      for (const auto& [connection, sids] : connections) Send(connection, Message(topic, *filter, sids));
    }
  }
}

std::string ClientCountMonitor::Message(const std::string& topic, const Filter& filter,
                                        const std::vector<std::string>& sids) const {
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::GenerateJsonMsg] start");
  const std::string view = filter.interval.empty() ? "1h" : filter.interval;
  json_object* body = json_object_new_object();
  if (topic == "SSIDClientCountMonitor") {
    AddSsids(body, view, filter.mac);
  } else {
    AddDevices(body, view, filter.mac);
  }
  Add(body, "sid", Texts(sids));
  json_object* message = json_object_new_object();
  Add(message, view, body);
  return Composed(topic, message);
}

void ClientCountMonitor::AddSsids(json_object* body, const std::string& view, const std::string& mac) const {
  const SeriesById series_by_ssid = ssid_views_.contains(view) ? ssid_views_.at(view) : SeriesById{};
  Series totals;
  json_object* ssids = json_object_new_object();
  for (const auto& [ssid, series] : series_by_ssid) {
    AddTo(totals, series);
    if (IsShown(series)) Add(ssids, ssid, SeriesObject(series));
  }
  Add(ssids, "ssid_client_count_all", SeriesObject(totals));
  Add(body, "ssids_clients_counts", ssids);
  json_object* current = json_object_new_object();
  for (const auto& [ssid, devices] : ssid_counts_) {
    if (ssid.empty()) continue;
    // A filter that names a device wants its clients alone.
    int count = 0;
    for (const auto& [device, clients] : devices) count += mac.empty() || device == mac ? clients : 0;
    json_object* object = json_object_new_object();
    Add(object, "count", Integer(count));
    Add(current, ssid, object);
  }
  Add(body, "current_ssid_clients_counts", current);
}

void ClientCountMonitor::AddDevices(json_object* body, const std::string& view, const std::string& mac) const {
  const SeriesById series_by_mac = device_views_.contains(view) ? device_views_.at(view) : SeriesById{};
  Series totals;
  json_object* devices = json_object_new_object();
  for (const auto& [id, series] : series_by_mac) {
    if (!mac.empty() && id != mac) continue;
    AddTo(totals, series);
    if (IsShown(series)) Add(devices, id, SeriesObject(series));
  }
  Add(body, "current_devices_counts", CurrentDevices(mac));
  // Of a device without any count the credentials tell why.
  if (totals.empty() && !mac.empty() && !device_counts_.contains(mac)) {
    pel_log_debug(log_module::kMonitor, "[%s] device: %s clients all is empty",
                  "void ClientCountMonitor::GenerateDeviceClientMsg(json_object*, const Filter*, timeval&)",
                  mac.c_str());
    AddCredentials(body, mac, "ClientCountMonitor");
  }
  Add(devices, "device_client_count_all", SeriesObject(totals));
  Add(body, "devices_client_counts", devices);
}

json_object* ClientCountMonitor::CurrentDevices(const std::string& mac) const {
  json_object* current = json_object_new_object();
  for (const auto& [id, ssids] : device_counts_) {
    if (!mac.empty() && id != mac) continue;
    json_object* device = json_object_new_object();
    for (const auto& [ssid, count] : ssids) {
      json_object* object = json_object_new_object();
      Add(object, "ssid", Text(ssid));
      Add(object, "count", Integer(count));
      Add(device, ssid, object);
    }
    Add(current, id, device);
  }
  return current;
}

void ClientCountMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_error(log_module::kMonitor, "[ClientCountMonitor::Cleanup] mac is empty");
    return;
  }
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::Cleanup] mac : %s", mac.c_str());
  device_counts_.erase(mac);
  for (auto& [ssid, devices] : ssid_counts_) devices.erase(mac);
  DropEmpty(ssid_counts_);
  // Only the minutes are forgotten; the longer views keep what they have.
  if (device_views_.contains("1m")) device_views_["1m"].erase(mac);
  for (const auto& [device, ssids] : ever_counted_) {
    for (const auto& [ssid, nothing] : ssids) {
      carriers_[ssid].erase(mac);
      pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::Cleanup] ssid_mac_map size: %d",
                    static_cast<int>(carriers_[ssid].size()));
      if (!carriers_[ssid].empty()) continue;
      // The last device that ever had clients on the SSID is gone, so the SSID goes, too.
      pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::Cleanup] Mac: %s, ssid: %s can be cleaned", mac.c_str(),
                    ssid.c_str());
      if (ssid_views_.contains("1m")) ssid_views_["1m"].erase(ssid);
    }
  }
  DropEmpty(carriers_);
  ever_counted_.erase(mac);
}

}  // namespace plain
