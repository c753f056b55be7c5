#include "monitor/reports/network/wireless_network_report.h"

#include <cstddef>
#include <memory>
#include <utility>

#include "monitor/engine/constants.h"
#include "monitor/engine/debug_lines.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/report_limits.h"
#include "monitor/engine/ssid_configurations.h"
#include "monitor/engine/time_keys.h"
#include "monitor/reports/network/network_client_counts.h"
#include "monitor/reports/network/network_debug_report.h"
#include "monitor/reports/network/network_fold.h"
#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_keys.h"
#include "monitor/reports/network/network_retention.h"
#include "monitor/reports/network/network_rogues.h"
#include "monitor/reports/network/network_running.h"
#include "monitor/reports/network/network_show.h"
#include "monitor/reports/network/network_stage.h"
#include "monitor/reports/network/network_traffic.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

namespace json_key = monitoring::json_key;
using models::controller::SecModeType;
using models::controller::SSIDCfg;
using monitoring::JsonTree;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

constexpr std::uint32_t kPassesPerSample = 5;
constexpr int kSlotMinutes = 5;
constexpr int kHourMinutes = 60;
constexpr const char* kDaySeparator = "/";
constexpr std::size_t kMinWeekKeyLength = 3;  // a day, the slash and a day, of a character each

/// The bucket of a report; an empty one when there is none.
template <typename Bucket>
const Bucket& BucketOf(const std::map<std::string, std::map<std::string, Bucket>>& report, const std::string& type,
                       const std::string& period) {
  static const Bucket empty;
  const auto buckets = report.find(type);
  if (buckets == report.end()) return empty;
  const auto bucket = buckets->second.find(period);
  return bucket == buckets->second.end() ? empty : bucket->second;
}

/// Drops what the debug lines of a pass tell of when the pass ends, also when memory runs out in it: it takes a hundred
/// times as much as what is kept.
class DebugReportOfPass {
 public:
  explicit DebugReportOfPass(std::unique_ptr<NetworkReport>& report) : report_(report) {}
  ~DebugReportOfPass() { report_.reset(); }
  DebugReportOfPass(const DebugReportOfPass&) = delete;
  DebugReportOfPass& operator=(const DebugReportOfPass&) = delete;

 private:
  std::unique_ptr<NetworkReport>& report_;
};

}  // namespace

WirelessNetworkReport::WirelessNetworkReport() : last_collection_time_(time(nullptr)) {}

std::string WirelessNetworkReport::GetMonitorName() {
  return monitoring::kWirelessNetworkReport;
}

void WirelessNetworkReport::RemoveRadioTypeFromSSIDKey(const std::string& ssid_key, std::string& out) {
  monitor::RemoveRadioTypeFromSSIDKey(ssid_key, kHost, out);
}

bool WirelessNetworkReport::GetAttributeFromKey(const std::string& ssid_key, std::string& name, SecModeType& mode,
                                                bool& guest) {
  return monitor::GetAttributeFromKey(ssid_key, kHost, name, mode, guest);
}

bool WirelessNetworkReport::GetStartEndTimeOfWeek(const std::string& week, std::string& start, std::string& end) {
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetStartEndTimeOfWeek] week: %s", week.c_str());
  const std::size_t slash = week.find(kDaySeparator);
  if (slash == std::string::npos || week.size() < kMinWeekKeyLength) {
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GetStartEndTimeOfWeek] Wrong week time format");
    return false;
  }
  start = week.substr(0, slash);
  end = week.substr(slash + 1);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetStartEndTimeOfWeek] start_day: %s, end_day: %s",
                start.c_str(), end.c_str());
  return true;
}

void WirelessNetworkReport::AccessPointsToNetworksStruct(const Measurements& from, Records& to) {
  for (const auto& [key, measured] : from) to[key] = Networks{.attributes = {}, .measured = measured};
}

void WirelessNetworkReport::AccessPointsToNetworksStruct(const NestedMeasurements& from, Buckets& to) {
  for (const auto& [key, inner] : from) AccessPointsToNetworksStruct(inner, to[key]);
}

void WirelessNetworkReport::NetworksStructToAccessPoints(const Records& from, Measurements& to) {
  for (const auto& [key, record] : from) to[key] = record.measured;
}

void WirelessNetworkReport::NetworksStructToAccessPoints(const Buckets& from, NestedMeasurements& to) {
  for (const auto& [key, inner] : from) NetworksStructToAccessPoints(inner, to[key]);
}

void WirelessNetworkReport::TrafficStructDe(const std::string& /*id*/,
                                            const std::map<std::string, TrafficCount>& interfaces,
                                            AccessPoints& access_point) {
  std::map<std::string, TrafficInOut> octets;
  for (const auto& [interface, traffic] : interfaces) octets[interface] = {traffic.inOctets, traffic.outOctets};
  access_point.traffic.inOctets = 0;
  access_point.traffic.outOctets = 0;
  SumTrafficInOut(octets, access_point.traffic.inOctets, access_point.traffic.outOctets);
}

void WirelessNetworkReport::UpdateNetworkAttr(Records& records, const std::string& key,
                                              const NetworksAttr& attributes) {
  records[key].attributes = attributes;
}

void WirelessNetworkReport::CollectData() {
  const std::vector<std::string> macs = DeviceManager::GetInstance().GetOnlineManagedDevices(true);
  const long now = static_cast<long>(time(nullptr));
  const std::string day = GetDateStr(now);
  const std::string week = GetWeekStr(now);
  if (!BeginPass(static_cast<time_t>(now), day, week)) return;
  const DebugReportOfPass of_pass(debug_report_);
  if (monitoring::AreDebugLinesLogged()) debug_report_ = NewDebugReport();
  ClearOtherSnapShot(day, now);
  CleaRedundantSampleData(day, week, is_clock_changed_);
  is_clock_changed_ = false;
  ClearTimeDeltaForRadio();
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectData] Times up");

  store_.max_rogues_a_day = monitoring::kMaxRogueKeysADay + monitoring::kRogueKeysADayPerDevice * macs.size();
  store_.left_out_rogues = 0;
  for (const std::string& mac : macs) CollectDevice(mac, now, day, week);
  CollectSSIDsByMac(now, day, week);
  CollectSSIDs(now, day, week);
  CollectAccessPoints(now, day, week);
  CollectSpectrums(now, day, week);
  last_collection_time_ = static_cast<time_t>(now);
  LogLeftOutRogues(day);  // last: whatever a log line does, the pass is whole
}

void WirelessNetworkReport::NoteClock(const std::string& day, const long& now) {
  // Two signs of a clock that was set back: a sample of today that is not in the past, and a last collection that is
  // later than now, which also shows a step back to another day.
  const bool has_future_sample = store_.day == day && store_.HasSampleSince(monitoring::time_keys::Minute(now));
  if (has_future_sample || static_cast<long>(last_collection_time_) > now) is_clock_changed_ = true;
}

std::unique_ptr<NetworkReport> WirelessNetworkReport::NewDebugReport() const {
  const lock_guard_read held(lock_);
  return DebugReport(report_, store_);
}

bool WirelessNetworkReport::BeginPass(time_t now, const std::string& day, const std::string& week) {
  const tm local = monitoring::time_keys::LocalTime(now);
  week_day_ = local.tm_wday;
  ++tick_counter_;
  if (tick_counter_ % kPassesPerSample != 0) return false;
  // Before anything that needs memory: if that runs out, the next attempt comes when the clock may have caught up.
  NoteClock(day, static_cast<long>(now));
  if (!GetStartEndTimeOfWeek(week, week_start_, week_end_)) {
    // The counter is not reset, so that the next attempt comes five passes later.
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::CollectData] Get start and end day failed");
    return false;
  }
  const std::int32_t slots = (local.tm_hour * kHourMinutes + local.tm_min) / kSlotMinutes;
  SampleCountCurrentTime = slots;
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectData] timeinfo.tm_hour: %d, timeinfo.tm_min: %d, "
                "SampleCountCurrentTime: %d",
                local.tm_hour, local.tm_min, static_cast<int>(slots));
  tick_counter_ = 0;
  return true;
}

void WirelessNetworkReport::CollectDevice(const std::string& mac, const long& now, const std::string& day,
                                          const std::string& week) {
  const std::shared_ptr<Device> device = monitoring::WirelessDevice(mac);
  if (device == nullptr) return;
  CollectNeighboringAPs(mac, device, now, day, week);
  CollectOneSSID(mac, device, now, day, week);
}

void WirelessNetworkReport::LogLeftOutRogues(const std::string& day) {
  if (store_.left_out_rogues == 0 || full_day_ == day) return;
  pel_log_error(log_module::kMonitor,
                "[WirelessNetworkReport::CollectData] More than %zu rogue access points on %s: new ones are left out, "
                "%llu entries of scans in this pass",
                store_.max_rogues_a_day, day.c_str(), static_cast<unsigned long long>(store_.left_out_rogues));
  full_day_ = day;
}

void WirelessNetworkReport::CollectNeighboringAPs(const std::shared_ptr<Device>& device, const long& now,
                                                  const std::string& day, const std::string& week) {
  CollectNeighboringAPs(device->basic_info().mac, device, now, day, week);
}

void WirelessNetworkReport::CollectNeighboringAPs(const std::string& mac, const std::shared_ptr<Device>& device,
                                                  const long& now, const std::string& day, const std::string& week) {
  const Hearing hearing = ReadScan(mac, *device);  // asks the host, so before the lock is taken
  if (hearing.heard.empty()) return;
  const ReportTime pass_time = TimeOf(day, week);
  // Whole, for it lasts no longer than the pass: on a day that is full its lines also tell of what is left out below.
  if (debug_report_ != nullptr) RecordScan(ScanOf(hearing), now, pass_time, kHost, *debug_report_);
  if (store_.day != day) store_.DropSamples(day);
  const lock_guard_write held(lock_);
  FoldScan(hearing, now, pass_time, kSilent, store_, report_.rogue_report[monitoring::kDaily], rogue_week_);
}

void WirelessNetworkReport::CollectOneSSID(const std::shared_ptr<Device>& device, const long& now,
                                           const std::string& day, const std::string& week) {
  CollectOneSSID(device->basic_info().mac, device, now, day, week);
}

void WirelessNetworkReport::CollectOneSSID(const std::string& mac, const std::shared_ptr<Device>& device,
                                           const long& now, const std::string& day, const std::string& /*week*/) {
  if (device->driver() == nullptr) return;
  store_.PrefetchNext();  // on its way while the host is asked
  const std::vector<NetworkReading> readings = ReadSSIDs(mac, *device, *ReadConfigurations(mac));
  for (const NetworkReading& reading : readings) {
    if (debug_report_ == nullptr) break;
    const Networks sample = SampleOf(mac, reading);
    debug_report_->device_ssid_samples[day][mac][SSIDKeyWithRadio(sample.attributes)][MinuteKey(now)] = sample;
  }
  if (store_.day != day) store_.DropSamples(day);
  StageSamples(mac, readings, monitoring::time_keys::Minute(now), store_);
}

void WirelessNetworkReport::CollectSSIDsByMac(const long& now, const std::string& day, const std::string& week) {
  if (debug_report_ != nullptr) FoldDevices(TimeOf(day, week), kHost, *debug_report_, radio_deltas_);
  FoldStagedSamples(monitoring::time_keys::Minute(now), store_);
}

void WirelessNetworkReport::CollectSSIDs(const long& /*now*/, const std::string& day, const std::string& week) {
  const ReportTime pass_time = TimeOf(day, week);
  if (debug_report_ != nullptr) FoldFamily(kSSIDs, pass_time, kHost, *debug_report_);
  const lock_guard_write held(lock_);
  FoldSums(pass_time, store_.ssids, report_.ssid_report);
}

void WirelessNetworkReport::CollectAccessPoints(const long& /*now*/, const std::string& day, const std::string& week) {
  const ReportTime pass_time = TimeOf(day, week);
  if (debug_report_ != nullptr) FoldFamily(kAccessPoints, pass_time, kHost, *debug_report_);
  // The host is asked before the lock is taken, and the answers are stored before it is released: no report may show an
  // access point with its figures, but not yet its name.
  names_.Read(store_.access_points);
  const lock_guard_write held(lock_);
  const bool has_new_records = FoldSums(pass_time, store_.access_points, report_.access_point_report);
  names_.Store(week, has_new_records, report_.access_point_report);
}

void WirelessNetworkReport::CollectSpectrums(const long& /*now*/, const std::string& day, const std::string& week) {
  const ReportTime pass_time = TimeOf(day, week);
  if (debug_report_ != nullptr) FoldFamily(kSpectrums, pass_time, kHost, *debug_report_);
  const lock_guard_write held(lock_);
  FoldSums(pass_time, store_.spectrums, report_.spectrum_report);
}

void WirelessNetworkReport::UpdateAccessPointsInfo() {
  names_.Read(store_.access_points);
  const lock_guard_write held(lock_);
  names_.Store(kept_week_, true, report_.access_point_report);
}

void WirelessNetworkReport::GetSSIDCfgs(const std::string& device_mac, SSIDConfigurations& configurations) {
  configurations = *ReadConfigurations(device_mac);
}

bool WirelessNetworkReport::GetSSIDCfg(const std::string& ssid, const std::string& radio,
                                       const SSIDConfigurations& configurations, SSIDCfg& chosen) {
  const SSIDCfg* found = monitoring::ConfigurationFor(configurations, ssid, radio);
  if (found != nullptr) chosen = *found;
  return found != nullptr;
}

void WirelessNetworkReport::CalculateClientCountData(const std::string& id, const Samples& samples,
                                                     const std::string& day, const std::string& week, Buckets& daily,
                                                     Buckets& weekly) const {
  const ReportTime time = TimeOf(day, week);
  RecordClientCounts(id, samples, time, kHost, daily);
  FoldClientCounts(time, kHost, daily, weekly);
}

void WirelessNetworkReport::CalculateTrafficData(const std::string& id, Samples& samples, const std::string& day,
                                                 const std::string& week, Buckets& daily, Buckets& weekly) const {
  const ReportTime time = TimeOf(day, week);
  if (RecordSpeed(id, samples, time, kHost, daily)) FoldSpeeds(id, time, kHost, daily, weekly);
}

void WirelessNetworkReport::CalculateSSIDsDailyTraffic(Report& report, const Snapshot& snapshot,
                                                       const std::string& day) const {
  RecordDailySpeeds(snapshot, TimeOf(day, {}), kHost, kSSIDs.log_speed, report);
}

void WirelessNetworkReport::CalculateAccesspointsDailyTraffic(Report& report, const Snapshot& snapshot,
                                                              const std::string& day) const {
  RecordDailySpeeds(snapshot, TimeOf(day, {}), kHost, kAccessPoints.log_speed, report);
}

void WirelessNetworkReport::CalculateSpectrumDailyTraffic(Report& report, const Snapshot& snapshot,
                                                          const std::string& day) const {
  RecordDailySpeeds(snapshot, TimeOf(day, {}), kHost, kSpectrums.log_speed, report);
}

void WirelessNetworkReport::CalculateWeeklyTraffic(Report& report, const std::string& day,
                                                   const std::string& week) const {
  FoldWeeklySpeeds(TimeOf(day, week), kHost, report);
}

double WirelessNetworkReport::GetAverageSignalStrength(const std::map<std::string, RogueAPs>& sightings,
                                                       const bool& daily) {
  return monitor::GetAverageSignalStrength(sightings, daily, kHost);
}

ReportTime WirelessNetworkReport::TimeOf(const std::string& day, const std::string& week) const {
  return {.day = day,
          .week = week,
          .week_start = week_start_,
          .week_end = week_end_,
          .weekday = week_day_,
          .slots = SampleCountCurrentTime};
}

bool WirelessNetworkReport::ClearOtherSnapShot(const std::string& day, const long& now) {
  if (debug_report_ != nullptr) monitor::ClearOtherSnapShot(day, now, kHost, *debug_report_);
  const bool is_found = store_.day == day && store_.HasSampleSince(monitoring::time_keys::Minute(now));
  if (is_found || store_.day != day) store_.DropSamples(day);
  return is_found;
}

void WirelessNetworkReport::CleaRedundantSampleData(const std::string& day, const std::string& week,
                                                    const bool& clear_current) {
  if (debug_report_ != nullptr) monitor::CleaRedundantSampleData(day, week, clear_current, kHost, *debug_report_);
  const bool is_moved = clear_current || day != kept_day_ || week != kept_week_;
  if (is_moved) KeepDeviceDays(day, clear_current, store_);
  if (clear_current) store_.DropSamples(day);
  const lock_guard_write held(lock_);
  EndRogueWeek(week);
  if (is_moved) {
    monitor::CleaRedundantSampleData(day, week, clear_current, kSilent, report_);
    for (FamilySums* family : {&store_.ssids, &store_.access_points, &store_.spectrums}) family->is_week_due = true;
    kept_day_ = day;
    kept_week_ = week;
  } else {
    // The scans of the first pass of a day make an eighth one.
    DropOldestDay(report_.rogue_report[monitoring::kDaily]);
  }
}

void WirelessNetworkReport::EndRogueWeek(const std::string& week) {
  if (rogue_week_.is_scanned && rogue_week_.time.week < week) {
    RogueRecords records = RogueWeekRecords(report_.rogue_report[monitoring::kDaily], rogue_week_, kSilent);
    // An empty week would take the place of an older one.
    if (!records.empty()) report_.rogue_report[monitoring::kWeekly][rogue_week_.time.week] = std::move(records);
  }
  rogue_week_.is_scanned = false;
  rogue_week_.gone.clear();
}

void WirelessNetworkReport::ClearTimeDeltaForRadio() {
  radio_deltas_.clear();
}

std::string WirelessNetworkReport::GetAvailableTypePeriod() {
  const lock_guard_read held(lock_);
  const JsonTree periods = PeriodsObject(report_.access_point_report);
  return periods == nullptr ? std::string() : monitoring::TextOf(periods.get());
}

std::string WirelessNetworkReport::GetWirelessReport(const std::string& report_type, const std::string& period) {
  // Each section takes the lock by itself. A pass may run between two of them.
  const JsonTree result = monitoring::NewObject();
  if (result == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::GetWirelessReport] result is NULL");
    return {};
  }
  JsonTree rogues = GetRogueAPsReport(report_type, period);
  JsonTree access_points = GetAccessPointsReport(report_type, period);
  JsonTree networks = GetSSIDsReport(report_type, period);
  JsonTree spectrums = GetSpectrumsReport(report_type, period);
  const bool is_expired = CheckPeriodExpire(report_type, period);
  // "expire" stands beside the first section and is missing with it.
  if (rogues != nullptr) {
    monitoring::Add(result, json_key::kRogueAp, std::move(rogues));
    monitoring::Add(result, json_key::kExpire, monitoring::NewBoolean(is_expired));
  }
  monitoring::Add(result, json_key::kWirelessAccessPoints, std::move(access_points));
  monitoring::Add(result, json_key::kWirelessNetwork, std::move(networks));
  monitoring::Add(result, json_key::kSpectrumUsage, std::move(spectrums));
  return monitoring::TextOf(result.get());
}

JsonTree WirelessNetworkReport::GetRogueAPsReport(const std::string& report_type, const std::string& period) const {
  const lock_guard_read held(lock_);
  if (report_type == monitoring::kWeekly && rogue_week_.is_scanned && period == rogue_week_.time.week) {
    const auto days = report_.rogue_report.find(monitoring::kDaily);
    return RogueAPsArray(RogueWeekRecords(days->second, rogue_week_, kSilent));
  }
  return RogueAPsArray(BucketOf(report_.rogue_report, report_type, period));
}

JsonTree WirelessNetworkReport::GetAccessPointsReport(const std::string& report_type, const std::string& period) const {
  const lock_guard_read held(lock_);
  return AccessPointsObject(BucketOf(report_.access_point_report, report_type, period));
}

JsonTree WirelessNetworkReport::GetSSIDsReport(const std::string& report_type, const std::string& period) const {
  const lock_guard_read held(lock_);
  return SSIDsArray(BucketOf(report_.ssid_report, report_type, period));
}

JsonTree WirelessNetworkReport::GetSpectrumsReport(const std::string& report_type, const std::string& period) const {
  const lock_guard_read held(lock_);
  return SpectrumsObject(BucketOf(report_.spectrum_report, report_type, period));
}

JsonTree WirelessNetworkReport::GenerateSeenByString(const std::map<std::string, std::string>& seen_by) {
  return SeenByObject(seen_by);
}

bool WirelessNetworkReport::CheckPeriodExpire(const std::string& report_type, const std::string& period) const {
  const lock_guard_read held(lock_);
  const auto buckets = report_.access_point_report.find(report_type);
  return buckets != report_.access_point_report.end() && !buckets->second.empty() && !buckets->second.contains(period);
}

}  // namespace vexora_probe::monitor
