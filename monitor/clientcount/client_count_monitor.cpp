#include "monitor/clientcount/client_count_monitor.h"

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "monitor/clientcount/client_count_collect.h"
#include "monitor/clientcount/client_count_fold.h"
#include "monitor/clientcount/client_count_show.h"
#include "monitor/engine/ascending_lookup.h"
#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/credential_members.h"
#include "monitor/engine/debug_lines.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/push.h"
#include "monitor/engine/time_keys.h"
#include "monitor/engine/view_chain.h"
#include "platform/device_centre.h"
#include "platform/logging.h"

namespace clientcount = monitoring::clientcount;
namespace json_key = monitoring::json_key;
using monitoring::JsonTree;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

namespace {

constexpr std::array<const char*, 2> kTopics{monitoring::kSsidClientCountMonitor,
                                             monitoring::kDevicesClientCountMonitor};
constexpr const char* kAllIds = "";
constexpr const char* kDeviceClientMsgSignature =
    "void ClientCountMonitor::GenerateDeviceClientMsg(json_object*, const Filter*, timeval&)";

/// The series of one view; none for an unknown view.
const clientcount::SeriesById& SeriesOf(const clientcount::Views& views, const Filter& filter) {
  static const clientcount::SeriesById none;
  const auto found = views.find(IntervalOf(filter, monitoring::kClientCountDefaultView));
  return found == views.end() ? none : found->second;
}

JsonTree Shared(std::string text) {
  return monitoring::SharedJson(std::make_shared<const std::string>(std::move(text)));
}

}  // namespace

std::string ClientCountMonitor::GetMonitorName() {
  return monitoring::kClientCountMonitor;
}

int ClientCountMonitor::CurrentMinute() const {
  // A series counts minutes in an int, which holds those of the years until 6053.
  return static_cast<int>(monitoring::time_keys::Minute(current_time()));
}

void ClientCountMonitor::CollectData() {
  reset_.clear();
  counted_.clear();
  const auto& macs = pass_devices_.Begin(DeviceManager::GetInstance().GetOnlineManagedDevices(true));
  for (const std::string& mac : macs) {
    if (monitoring::WirelessDevice(mac) != nullptr) reset_.push_back(&mac);
  }
  for (const std::string& mac : macs) {
    // Asked for anew: a device that was cleaned up meanwhile must not be counted from its old reading.
    const auto device = monitoring::WirelessDevice(mac);
    if (device != nullptr) Count(mac, clientcount::ReadClients(*device));
  }
}

void ClientCountMonitor::ConvertDriverStruct(const std::string& mac,
                                             const std::vector<clientcount::InterfaceClients>& interfaces) {
  Count(mac, std::vector(interfaces));
  const lock_guard_write held(counts_lock);
  Publish();
}

void ClientCountMonitor::Count(const std::string& mac, std::vector<clientcount::InterfaceClients>&& interfaces) {
  for (auto& [interface, ssid, clients] : interfaces) {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::ConvertDriverStruct] Interface name:%s",
                  interface.c_str());
    pel_log_debug(log_module::kMonitor,
                  "[ClientCountMonitor::ConvertDriverStruct] mac: %s, ssid name:%s, client count: %d", mac.c_str(),
                  ssid.c_str(), static_cast<int>(clients));
    if (clients == 0) continue;  // no pair: an SSID on which nobody ever was is not shown
    counted_.push_back({.mac = &mac, .ssid = std::move(ssid), .clients = static_cast<int>(clients)});
  }
}

void ClientCountMonitor::Publish() {
  // All places are made first: what needs memory is done before a count changes.
  MakePlaces();
  for (const std::string* reset : reset_) {
    const auto device = mac_ssid_map.find(*reset);
    if (device == mac_ssid_map.end()) continue;
    for (auto& [ssid, current] : device->second) current.count = 0;
  }
  for (std::size_t index = 0; index < counted_.size(); ++index) {
    if (places_[index] != nullptr) places_[index]->count += counted_[index].clients;
  }
  reset_.clear();
  counted_.clear();
}

void ClientCountMonitor::MakePlaces() {
  places_.clear();
  places_.reserve(counted_.size());
  std::vector<const Counted*> made;
  made.reserve(counted_.size());
  const std::string* mac = nullptr;
  bool is_removed = false;
  try {
    for (const Counted& counted : counted_) {
      if (counted.mac != mac) is_removed = pass_devices_.IsRemoved(*counted.mac);
      mac = counted.mac;
      bool is_new = false;
      places_.push_back(is_removed ? nullptr : &CountOf(*mac, counted.ssid, is_new));
      if (is_new) made.push_back(&counted);
    }
  } catch (const std::bad_alloc&) {
    // A pair that was never counted would keep its SSID from being forgotten with those that carry it.
    for (const Counted* counted : made) ForgetPair(*counted->mac, counted->ssid);
    throw;
  }
}

void ClientCountMonitor::ForgetPair(const std::string& mac, const std::string& ssid) {
  const auto device = mac_ssid_map.find(mac);
  device->second.erase(ssid);
  if (device->second.empty()) mac_ssid_map.erase(device);
  const auto carriers = ssid_carriers_.find(ssid);
  if (--carriers->second == 0) ssid_carriers_.erase(carriers);
}

monitoring::clientCountStruct& ClientCountMonitor::CountOf(const std::string& mac, const std::string& ssid,
                                                           bool& is_new) {
  const auto device = mac_ssid_map.try_emplace(mac).first;
  auto pair = device->second.find(ssid);
  if (pair != device->second.end()) return pair->second;
  try {
    std::size_t& carriers = ssid_carriers_[ssid];
    pair = device->second.try_emplace(ssid).first;
    ++carriers;
  } catch (const std::bad_alloc&) {
    const auto carriers = ssid_carriers_.find(ssid);
    if (carriers != ssid_carriers_.end() && carriers->second == 0) ssid_carriers_.erase(carriers);
    if (device->second.empty()) mac_ssid_map.erase(device);
    throw;
  }
  is_new = true;
  return pair->second;
}

void ClientCountMonitor::DataMerge() {
  const lock_guard_write held(counts_lock);
  Publish();
  pass_devices_.End();
  CalculateClientCount();
  MergeViews();
}

void ClientCountMonitor::CalculateClientCount() {
  // What needs memory comes first: the zeroes must not stay where the counts should be.
  Counts devices{.current = clientcount::CountByDevice(mac_ssid_map), .added = {}};
  Counts ssids{.current = clientcount::CountBySsid(mac_ssid_map, kAllIds), .added = {}};
  MakeRoom(device_client_counts[monitoring::kView1m], devices);
  MakeRoom(ssid_client_counts[monitoring::kView1m], ssids);
  PaddedZeroCount();  // overwritten by the counts of whoever has clients
  MergeCurrentCount(devices, ssids);
}

void ClientCountMonitor::MakeRoom(SeriesById& minutes, Counts& counts) {
  for (auto& [id, series] : minutes) series.MakeRoom();
  monitoring::AscendingLookup in_minutes(minutes);
  for (const auto& [id, clients] : counts.current) {
    if (in_minutes.Find(id) == nullptr) counts.added[id].MakeRoom();
  }
}

void ClientCountMonitor::PaddedZeroCount() {
  PaddedZeroCountForDifferentView(device_client_counts[monitoring::kView1m]);
  PaddedZeroCountForDifferentView(ssid_client_counts[monitoring::kView1m]);
}

void ClientCountMonitor::PaddedZeroCountForDifferentView(SeriesById& series_by_id) const {
  const int minute = CurrentMinute();
  for (auto& [id, series] : series_by_id) clientcount::SetSample(series, minute, 0);
}

void ClientCountMonitor::MergeCurrentCount(Counts& devices, Counts& ssids) {
  MergeView(devices, device_client_counts[monitoring::kView1m]);
  MergeView(ssids, ssid_client_counts[monitoring::kView1m]);
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::MergeCurrentCount] debug");
}

void ClientCountMonitor::MergeView(Counts& counts, SeriesById& minutes) const {
  minutes.merge(counts.added);
  // No cap here: a series that is not new got a sample of this minute, and lost its oldest, when it was padded. Where
  // the clock was set back that was the new sample itself, and the merge step drops the surplus.
  const int minute = CurrentMinute();
  auto place = minutes.begin();  // a hint: mostly the ids of both maps are the same
  for (const auto& [id, clients] : counts.current) {
    place = minutes.try_emplace(place, id);
    place->second[minute] = clients;
    ++place;
  }
}

void ClientCountMonitor::MergeDataForInterval() {
  const lock_guard_write held(counts_lock);
  MergeViews();
}

void ClientCountMonitor::MergeViews() {
  for (const monitoring::ViewStep& step : monitoring::kViewChain) {
    MergeDifferentInterval(step.source, step.target, step.count, step.minutes);
  }
}

void ClientCountMonitor::MergeDifferentInterval(const std::string& source, const std::string& target, int count,
                                                int minutes) {
  // This order is that of the log lines.
  MergeCountDifferentInterval(ssid_client_counts, source, target, count, minutes);
  MergeCountDifferentInterval(device_client_counts, source, target, count, minutes);
}

void ClientCountMonitor::MergeCountDifferentInterval(Views& view, const std::string& source, const std::string& target,
                                                     int count, int minutes) const {
  SeriesById& from = view[source];
  SeriesById& to = view[target];
  const int minute = CurrentMinute();
  // Samples after the present are left from before the clock was set back.
  for (auto& [id, series] : from) RemoveBadTimeSample(minute, series);
  CalculateAverage(from, count, to, minutes);
}

void ClientCountMonitor::RemoveBadTimeSample(int now_minute, Series& series) {
  for (auto dropped = clientcount::DropFutureSamples(series, now_minute); dropped != 0; --dropped) {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::RemoveBadTimeSample] Remove junk sample");
  }
}

void ClientCountMonitor::CalculateAverage(const SeriesById& source, int rank, SeriesById& target,
                                          int merge_minutes) const {
  if (!IsMergeDue(source, target, rank, merge_minutes)) {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::CalculateAverage] Don't need to merge");
    return;
  }
  for (const auto& [id, series] : source) MergeSeries(id, series, rank, target[id]);
}

bool ClientCountMonitor::IsMergeDue(const SeriesById& source, const SeriesById& target, int rank, int merge_minutes) {
  static const Series none;
  monitoring::AscendingLookup in_target(target);
  for (const auto& [id, series] : source) {
    const Series* found = in_target.Find(id);
    const Series& longer = found == nullptr ? none : *found;
    if (!series.empty()) {
      pel_log_debug(log_module::kMonitor,
                    "[ClientCountMonitor::CalculateAverage] rank: %d, merge_minutes: %d, "
                    "last_collection_time_first: %d, last_collection_time_next %d",
                    rank, merge_minutes, clientcount::NewestMinute(series), clientcount::NewestMinute(longer));
    }
    if (clientcount::IsDue(series, longer, rank, merge_minutes)) return true;
  }
  return false;
}

void ClientCountMonitor::MergeSeries(const std::string& id, const Series& source, int rank, Series& target) const {
  const auto newest = clientcount::NewestSamples(source, rank);
  int number = 0;
  for (const auto& [minute, count] : newest) {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::CalculateAverage] i: %d, time: %d, count: %d", number++,
                  minute, count);
  }
  const int peak = clientcount::Peak(newest);
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::CalculateAverage] id: %s, max count: %d, time %d",
                id.c_str(), peak, CurrentMinute());
  clientcount::SetSample(target, CurrentMinute(), peak);
}

void ClientCountMonitor::monitor(const std::string& /*argument*/) {
  PushData();
}

void ClientCountMonitor::PushDataBySID(const subscribes::SubscriptionList& /*subscriptions*/) {
  // The list handed in is that of the monitor's own name, which is no topic; each of the two topics has its own.
  for (const char* name : kTopics) {
    monitoring::WithinBoundary("ClientCountMonitor::PushDataBySID", [&] {
      const std::string topic = name;
      const auto subscriptions = subscribes::SubscribesManager::GetInstance().GetSubscribeList(topic);
      monitoring::MergedList merged;
      SidMergedWithFilter(subscriptions, merged);
      monitoring::SendToEach(
          "ClientCountMonitor::PushDataBySID", merged, [&](const Filter& filter) { return Body(topic, filter); },
          [&](const Filter& filter, const JsonTree& body, const std::vector<std::string>& sids) {
            return Message(topic, filter, body, sids);
          });
    });
  }
}

std::string ClientCountMonitor::GenerateJsonMsg(const std::string& type, const Filter& filter,
                                                const std::vector<std::string>& sids) {
  return Message(type, filter, Body(type, filter), sids);
}

JsonTree ClientCountMonitor::Body(const std::string& type, const Filter& filter) const {
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::GenerateJsonMsg] start");
  JsonTree body = monitoring::NewObject();
  if (type == monitoring::kSsidClientCountMonitor) {
    GenerateSSIDClientMsg(body, filter);
  } else if (type == monitoring::kDevicesClientCountMonitor) {
    GenerateDeviceClientMsg(body, filter);
  }
  return body;
}

std::string ClientCountMonitor::Message(const std::string& type, const Filter& filter, const JsonTree& body,
                                        const std::vector<std::string>& sids) {
  monitoring::SetSids(body, sids);
  const JsonTree message = monitoring::NewObject();
  const std::string view = IntervalOf(filter, monitoring::kClientCountDefaultView);
  if (body != nullptr) monitoring::AddShared(message, view.c_str(), body.get());
  return monitoring::Composed(type, message);
}

void ClientCountMonitor::CalculateTotalNumbersForSSID(const Series& series, Series& totals) {
  clientcount::AddTo(totals, series);
}

int ClientCountMonitor::CalculateTotalNumbersForDevices(const Series& series, std::string& object, Series& totals) {
  object.clear();
  clientcount::AppendSamples(object, series);
  clientcount::AddTo(totals, series);
  return clientcount::HasFewZeroes(series) ? 0 : -1;
}

void ClientCountMonitor::GenerateSSIDClientMsg(const JsonTree& body, const Filter& filter) const {
  std::string ssids_text;
  clientcount::CountById current;
  {
    const lock_guard_read held(counts_lock);
    clientcount::SeriesWriter ssids(ssids_text, json_key::kSsidClientCountAll);
    clientcount::Totals totals;
    std::string samples;
    for (const auto& [ssid, series] : SeriesOf(ssid_client_counts, filter)) {
      CalculateTotalNumbersForSSID(series, totals);  // also of an SSID that is left out
      if (!clientcount::HasFewZeroes(series)) continue;
      samples.clear();
      clientcount::AppendSamples(samples, series);
      ssids.Add(ssid, samples);
    }
    ssids.Close(totals);
    current = clientcount::CountBySsid(mac_ssid_map, filter.mac);
  }
  // Interfaces without an SSID have a history in the message, but no present count.
  current.erase("");
  monitoring::Add(body, json_key::kSsidsClientsCounts, Shared(std::move(ssids_text)));
  monitoring::Add(body, json_key::kCurrentSsidClientsCounts, Shared(clientcount::CurrentSsidsText(current)));
}

void ClientCountMonitor::GenerateDeviceClientMsg(const JsonTree& body, const Filter& filter) const {
  std::string devices_text;
  clientcount::Totals totals;
  clientcount::CurrentCounts current;
  {
    const lock_guard_read held(counts_lock);
    clientcount::SeriesWriter devices(devices_text, json_key::kDeviceClientCountAll);
    std::string samples;
    const auto add = [&](const std::string& mac, const Series& series) {
      // The totals hold a device that is left out, too.
      if (CalculateTotalNumbersForDevices(series, samples, totals) == 0) devices.Add(mac, samples);
    };
    const SeriesById& view = SeriesOf(device_client_counts, filter);
    if (filter.mac.empty()) {
      for (const auto& [mac, series] : view) add(mac, series);
    } else if (const auto device = view.find(filter.mac); device != view.end()) {
      add(device->first, device->second);
    }
    devices.Close(totals);
    current = clientcount::Current(mac_ssid_map, filter.mac);
  }
  monitoring::Add(body, json_key::kCurrentDevicesCounts, Shared(clientcount::CurrentDevicesText(current)));
  // The view has no sample of the device asked for, and nobody is on it now: its credential state may tell why.
  if (totals.empty() && !filter.mac.empty() && current.empty()) {
    pel_log_debug(log_module::kMonitor, "[%s] device: %s clients all is empty", kDeviceClientMsgSignature,
                  filter.mac.c_str());
    monitoring::AddCredentialMembers(body, filter.mac, "ClientCountMonitor");
  }
  monitoring::Add(body, json_key::kDevicesClientCounts, Shared(std::move(devices_text)));
}

void ClientCountMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_error(log_module::kMonitor, "[ClientCountMonitor::Cleanup] mac is empty");
    return;
  }
  // A line that finds no memory must not keep the device, here and below.
  monitoring::WithinBoundary("ClientCountMonitor::Cleanup", [&mac] {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::Cleanup] mac : %s", mac.c_str());
  });
  const lock_guard_write held(counts_lock);
  pass_devices_.Remove(mac);
  // The longer views keep their series: what was counted in the last month stays true.
  const auto minutes = device_client_counts.find(monitoring::kView1m);
  if (minutes != device_client_counts.end()) minutes->second.erase(mac);
  CleanupSsids(mac);
}

void ClientCountMonitor::CleanupSsids(const std::string& mac) {
  if (monitoring::AreDebugLinesLogged()) {
    try {
      LogCarriers(mac);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the lines are lost
    }
  }
  // From here on nothing allocates or logs: a clean-up that is cut short leaves the two maps in agreement.
  const auto device = mac_ssid_map.find(mac);
  if (device == mac_ssid_map.end()) return;
  const auto minutes = ssid_client_counts.find(monitoring::kView1m);
  for (const auto& [ssid, unused] : device->second) {
    const auto carriers = ssid_carriers_.find(ssid);
    if (--carriers->second != 0) continue;
    ssid_carriers_.erase(carriers);
    if (minutes != ssid_client_counts.end()) minutes->second.erase(ssid);
  }
  mac_ssid_map.erase(device);
}

void ClientCountMonitor::LogCarriers(const std::string& mac) const {
  const auto own = mac_ssid_map.find(mac);
  for (const auto& [device, ssids] : mac_ssid_map) {
    for (const auto& [ssid, unused] : ssids) {
      const bool is_carrier = own != mac_ssid_map.end() && own->second.contains(ssid);
      const std::size_t others = ssid_carriers_.at(ssid) - (is_carrier ? 1 : 0);
      pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::Cleanup] ssid_mac_map size: %d",
                    static_cast<int>(others));
      if (others != 0) continue;
      pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::Cleanup] Mac: %s, ssid: %s can be cleaned", mac.c_str(),
                    ssid.c_str());
    }
  }
}
