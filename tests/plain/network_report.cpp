#include "tests/plain/network_report.h"

#include <algorithm>

#include "platform/logging.h"
#include "tests/plain/json.h"
#include "tests/plain/ssid_configuration.h"

namespace plain {
namespace {

constexpr std::size_t kKeptDays = 7;
constexpr std::size_t kKeptWeeks = 4;

/// Whether an ID, the last one first, has a sample of this minute or later; such a one shows that the clock was set
/// back. Minutes are compared as texts.
template <typename Samples>
bool HasCurrentSample(const Samples& samples, const std::string& now, const char* family) {
  for (auto at = samples.rbegin(); at != samples.rend(); ++at) {
    if (at->second.empty()) continue;
    const std::string& latest = at->second.rbegin()->first;
    if (family != nullptr) {
      pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] %s mins_iter: %s, now: %s",
                    family, latest.c_str(), now.c_str());
    }
    if (latest >= now) return true;
  }
  return false;
}

/// Keeps the samples of today alone, and those only as long as none of the families so far had one of the future.
template <typename Days>
void KeepToday(const std::string& day, bool is_future, const char* family, Days& days) {
  std::erase_if(days, [&](const auto& entry) { return entry.first != day; });
  if (!is_future) return;
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] Clear %s snapshot", family);
  days[day].clear();
}

/// Drops the days of the future and the oldest of too many.
template <typename Buckets>
void KeepDays(const std::string& day, Buckets& days) {
  days.erase(days.upper_bound(day), days.end());
  if (days.size() > kKeptDays) days.erase(days.begin());
}

/// The same of weeks; the current one goes, too, for the pass builds it anew.
template <typename Buckets>
void KeepWeeks(const std::string& week, Buckets& weeks) {
  weeks.erase(weeks.lower_bound(week), weeks.end());
  if (weeks.size() > kKeptWeeks) weeks.erase(weeks.begin());
}

}  // namespace

void NetworkReport::Collect() {
  const auto macs = DeviceManager::GetInstance().GetOnlineManagedDevices(true);
  const time_t now = time(nullptr);
  const tm local = LocalTime(now);
  calendar_.weekday = local.tm_wday;
  if (++passes_ % 5 != 0) return;
  calendar_.day = DayKey(now);
  calendar_.week = WeekKey(now);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetStartEndTimeOfWeek] week: %s",
                calendar_.week.c_str());
  calendar_.week_start = calendar_.week.substr(0, calendar_.week.find('/'));
  calendar_.week_end = calendar_.week.substr(calendar_.week.find('/') + 1);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetStartEndTimeOfWeek] start_day: %s, end_day: %s",
                calendar_.week_start.c_str(), calendar_.week_end.c_str());
  calendar_.slots = (local.tm_hour * 60 + local.tm_min) / 5;
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectData] timeinfo.tm_hour: %d, timeinfo.tm_min: %d, "
                "SampleCountCurrentTime: %d",
                local.tm_hour, local.tm_min, calendar_.slots);
  passes_ = 0;
  const bool has_future_samples = ClearSamples(now);
  ClearBuckets(has_future_samples || last_collection_ > now);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectData] Times up");
  for (const std::string& mac : macs) {
    const auto device = WirelessDevice(mac);
    if (device == nullptr) continue;
    CollectRogues(mac, *device, now);
    CollectSsids(mac, *device, now);
  }
  FoldDevices();
  FoldSsids();
  FoldAccessPoints();
  FoldBands();
  last_collection_ = now;
}

bool NetworkReport::ClearSamples(time_t now) {
  const std::string& day = calendar_.day;
  const std::string minute = MinuteKey(now);
  bool is_future = rogue_samples_.contains(day) && HasCurrentSample(rogue_samples_[day], minute, "rogue APs");
  KeepToday(day, is_future, "raps_report", rogue_samples_);
  const auto clear = [&](Family& family, const char* name, const char* minute_name, const char* clear_name) {
    pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] %s size: %d", name,
                  static_cast<int>(family.samples.size()));
    if (family.samples.contains(day) && HasCurrentSample(family.samples[day], minute, minute_name)) is_future = true;
    KeepToday(day, is_future, clear_name, family.samples);
  };
  clear(access_points_, "Access points", "Access points", "access_points_report");
  clear(ssids_, "SSID report", "SSID report", "ssids report");
  clear(bands_, "Spectrum report", "Spectrum report", "spectrum report");
  for (const auto& [mac, samples] : device_samples_[day]) {
    if (HasCurrentSample(samples, minute, nullptr)) is_future = true;
  }
  KeepToday(day, is_future, "DeviceSSIDsReport", device_samples_);
  return is_future;
}

void NetworkReport::ClearBuckets(bool is_today_dropped) {
  const std::string& day = calendar_.day;
  const std::string& week = calendar_.week;
  if (is_today_dropped) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CleaRedundantSampleData] clear current day and week data");
    for (auto& [mac, days] : device_days_) days.erase(day);
    device_samples_[day].clear();
    rogue_samples_[day].clear();
    rogue_days_.erase(day);
    for (Family* family : {&access_points_, &ssids_, &bands_}) {
      family->samples[day].clear();
      family->days.erase(day);
    }
  }
  for (auto& [mac, days] : device_days_) KeepDays(day, days);
  for (auto& [mac, weeks] : device_weeks_) KeepWeeks(week, weeks);
  for (Family* family : {&access_points_, &ssids_, &bands_}) {
    KeepDays(day, family->days);
    KeepWeeks(week, family->weeks);
  }
  KeepDays(day, rogue_days_);
  KeepWeeks(week, rogue_weeks_);
  has_rogue_week_ = false;
}

void NetworkReport::CollectRogues(const std::string& mac, const Device& device, time_t now) {
  if (device.neighboring_ap_tbl().empty()) return;
  const std::set<std::string> keys = FoldScan(mac, device, now);
  // The first scan of a pass builds the whole week. A later one can have changed its own keys alone.
  if (!has_rogue_week_) {
    BuildRogueWeek();
    has_rogue_week_ = true;
    return;
  }
  for (const std::string& key : keys) {
    for (const auto& [day, records] : rogue_days_) {
      if (!calendar_.IsInWeek(day) || !records.contains(key)) continue;
      pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectNeighboringAPs] Add key: %s, day: %s",
                    key.c_str(), day.c_str());
    }
    RenewRogueWeek(key);
  }
}

std::set<std::string> NetworkReport::FoldScan(const std::string& mac, const Device& device, time_t now) {
  std::set<std::string> keys;
  for (const auto& heard : device.neighboring_ap_tbl()) {
    Rogue sighting;
    sighting.mac = heard.mac;
    sighting.ssid = heard.ssid;
    sighting.channel = heard.channel;
    sighting.band = BandName(heard.band, "");
    sighting.signal_dbm = heard.signal;
    sighting.seen_by[mac] = device.basic_info().hostname;
    // One BSSID with two SSIDs, channels or bands counts as two.
    const std::string key = heard.mac + "/" + heard.ssid + "/" + std::to_string(heard.channel) + "/" + sighting.band;
    keys.insert(key);
    if (heard.trusted == 0) {
      FoldSighting(key, sighting, now);
      continue;
    }
    // Who is trusted was no rogue to this device today.
    if (!rogue_days_.contains(calendar_.day) || !rogue_days_[calendar_.day].contains(key)) continue;
    auto& today = rogue_days_[calendar_.day];
    today[key].seen_by.erase(mac);
    if (!today[key].seen_by.empty()) continue;
    today.erase(key);
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CollectNeighboringAPs] The AP: %s is changed to trusted", key.c_str());
  }
  return keys;
}

void NetworkReport::FoldSighting(const std::string& key, const Rogue& sighting, time_t now) {
  using LongLong = unsigned long long;
  auto& samples = rogue_samples_[calendar_.day][key];
  samples[MinuteKey(now)] = sighting;
  auto& today = rogue_days_[calendar_.day];
  if (!today.contains(key)) {
    today[key] = sighting;
  } else {
    Rogue& known = today[key];
    known.seen_by.insert_or_assign(sighting.seen_by.begin()->first, sighting.seen_by.begin()->second);
    known.seconds += static_cast<std::int32_t>(now - known.last_seen);
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CollectNeighboringAPs] Mac: %s,now: %llu, last seen: %llu, first seen: %llu",
                  known.mac.c_str(), static_cast<LongLong>(now), static_cast<LongLong>(known.last_seen),
                  static_cast<LongLong>(known.first_seen));
    known.last_seen = now;
  }
  today[key].mean_dbm = MeanDbm(samples, true);
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectNeighboringAPs] Mac: %s, average signal strength: %f",
                today[key].mac.c_str(), today[key].mean_dbm);
}

void NetworkReport::BuildRogueWeek() {
  std::set<std::string> keys;
  for (const auto& [day, records] : rogue_days_) {
    if (!calendar_.IsInWeek(day)) {
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CollectNeighboringAPs] day: %s is not in this week: %s", day.c_str(),
                    calendar_.week.c_str());
      continue;
    }
    for (const auto& [key, record] : records) {
      pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectNeighboringAPs] Add key: %s, day: %s",
                    key.c_str(), day.c_str());
      keys.insert(key);
    }
  }
  for (const std::string& key : keys) RenewRogueWeek(key);
}

/// The week is like the first day of a key, but for what is summed up. A key that is in no day any more is left.
void NetworkReport::RenewRogueWeek(const std::string& key) {
  std::map<std::string, Rogue> days;
  for (const auto& [day, records] : rogue_days_) {
    if (calendar_.IsInWeek(day) && records.contains(key)) days[day] = records.at(key);
  }
  if (days.empty()) return;
  Rogue week = days.begin()->second;
  week.last_seen = days.rbegin()->second.last_seen;
  week.seconds = 0;
  for (const auto& [day, record] : days) week.seconds += record.seconds;
  week.mean_dbm = MeanDbm(days, false);
  rogue_weeks_[calendar_.week][key] = week;
}

void NetworkReport::CollectSsids(const std::string& mac, const Device& device, time_t now) {
  std::map<std::string, vexora_probe::models::controller::SSIDIfState> interfaces;
  device.get_ssid_interfaces_state(interfaces);
  std::map<std::string, vexora_probe::models::controller::RadioIfState> radios;
  device.get_radio_interfaces_state(radios);
  auto infos = DeviceManager::GetInstance().GetDevicesBasicInfo(mac, false);
  const SSIDConfigurations configurations =
      infos.contains(mac) ? ConfigurationsOf(mac, infos[mac].type) : SSIDConfigurations{};
  for (const auto& [interface, state] : interfaces) {
    if (state.ssid.empty()) {
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CollectOneSSID] Device: %s, interface: %s, SSID name is empty",
                    mac.c_str(), interface.c_str());
      continue;
    }
    if (state.traffic == nullptr) {
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CollectOneSSID] Device: %s, interface: %s, traffic statistics is empty",
                    mac.c_str(), interface.c_str());
      continue;
    }
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CollectOneSSID] Device: %s, interface: %s, inOctets: %llu,outOctets: %llu",
                  mac.c_str(), interface.c_str(), static_cast<unsigned long long>(state.traffic->in_bytes),
                  static_cast<unsigned long long>(state.traffic->out_bytes));
    std::string radio;
    device.get_ssid_radio(interface, radio);
    const std::string band = BandName(radios[radio].band, "");
    if (band.empty()) {
      pel_log_error(log_module::kMonitor,
                    "[WirelessNetworkReport::CollectOneSSID] Device: %s, radio type is empty. WIFIBandType type: %d",
                    mac.c_str(), static_cast<int>(radios[radio].band));
      continue;
    }
    const auto* configuration = ConfigurationFor(configurations, state.ssid, radio);
    if (configuration == nullptr) {
      pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::CollectOneSSID] Device: %s, SSID config is empty.",
                    mac.c_str());
      continue;
    }
    NetworkSample sample{.name = state.ssid,
                         .security_mode = static_cast<int>(configuration->security_mode),
                         .is_guest = configuration->guest,
                         .band = band,
                         .clients = static_cast<std::uint32_t>(std::max(0, state.client_count)),
                         .in = state.traffic->in_bytes,
                         .out = state.traffic->out_bytes,
                         .polled_at = device.if_state_polling_time()};
    device_samples_[calendar_.day][mac][SsidKey(sample) + "|" + band][MinuteKey(now)] = sample;
  }
}

/// Days and week are the same whichever network they are logged for, so they are logged once, with the last one.
void NetworkReport::FoldDevices() {
  for (auto& [mac, networks] : device_samples_[calendar_.day]) {
    Buckets& days = device_days_[mac];
    Buckets& weeks = device_weeks_[mac];
    const std::string last_key = networks.rbegin()->first;
    std::string last_with_speed;
    bool has_speed = false;
    for (auto& [key, samples] : networks) {
      CountClients(key, samples, calendar_, days);
      if (key == last_key) FoldClients(calendar_, days, weeks);
      if (CountSpeed(key, samples, calendar_, days)) {
        last_with_speed = key;
        has_speed = true;
      }
      if (key == last_key && has_speed) FoldSpeeds(last_with_speed, calendar_, days, weeks);
      const NetworkSample& latest = samples.rbegin()->second;
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CollectSSIDsByMac] ID: %s, key: %s, radio type: %s, delta time: %d",
                    mac.c_str(), key.c_str(), latest.band.c_str(), static_cast<int>(latest.seconds));
    }
  }
}

}  // namespace plain
