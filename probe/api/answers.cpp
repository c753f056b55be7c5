#include "probe/api/answers.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "platform/device_centre.h"
#include "platform/device_records.h"
#include "platform/topics.h"
#include "probe/api/device_argument.h"
#include "probe/clock/clock.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/text/json_text.h"
#include "probe/text/strict_json.h"

namespace probe {
namespace {

using nlohmann::ordered_json;

/// A device as docs/openapi.yaml describes it; what is not known of it is empty.
ordered_json DeviceTree(const std::string& mac, const DeviceSnapshot& device, const std::vector<Absence>& absences) {
  const auto info = device.basic_info.value_or(vexora_probe::models::controller::BasicInfo{});
  const auto platform = device.platform_info.value_or(vexora_probe::models::controller::PlatformInfo{});
  ordered_json measured;
  // A device that never answered has the beginning of time.
  if (device.sample_time.value_or(0) > 0) measured = static_cast<std::int64_t>(*device.sample_time);
  ordered_json was_away = ordered_json::array();
  for (const Absence& absence : absences)
    was_away.push_back(
        {{"from", static_cast<std::int64_t>(absence.from)}, {"to", static_cast<std::int64_t>(absence.to)}});
  return {{"mac", mac},
          {"hostname", info.hostname},
          {"ip", info.ip},
          {"type", DeviceManager::GetDeviceTypeStr(info.type)},
          {"model", platform.model},
          {"version", platform.version},
          {"online", device.online},
          {"wireless", device.is_wireless},
          {"measured", std::move(measured)},
          {"absences", std::move(was_away)}};
}

/// The polls of one device as docs/openapi.yaml describes them.
ordered_json PollTree(const snmp::DeviceStatus& status) {
  const snmp::PollHealth& health = status.health;
  ordered_json last;
  if (health.last_answer) last = static_cast<std::int64_t>(*health.last_answer);
  ordered_json clients;
  if (status.clients) clients = *status.clients;
  ordered_json listed;
  if (status.listed_clients) listed = *status.listed_clients;
  ordered_json stale = ordered_json::array();
  for (const snmp::StaleTable& table : status.stale)
    stale.push_back({{"table", table.name}, {"age", table.age_seconds}});
  return {{"address", status.address},
          {"name", status.name},
          {"mac", status.mac},
          {"online", status.online},
          {"clients", std::move(clients)},
          {"listed_clients", std::move(listed)},
          {"profile", health.profile},
          {"last_answer", std::move(last)},
          {"duration", static_cast<std::int64_t>(health.duration.count())},
          {"pdus", health.statistics.pdus},
          {"timeouts", health.statistics.timeouts},
          {"failed_polls", health.failed_polls},
          {"error", health.error},
          {"stale", std::move(stale)}};
}

HttpAnswer NotRunning() {
  HttpAnswer answer = ErrorAnswer(503, "not_running", "The monitoring engine does not run.");
  answer.retry_after = 1;  // it is being started or stopped
  return answer;
}

/// Whether `periods`, as the plug-in lists them, hold this one.
bool HasPeriod(const ordered_json& periods, const std::string& type, const std::string& period) {
  const auto list = periods.find(type);
  return list != periods.end() && list->is_array() && std::find(list->begin(), list->end(), period) != list->end();
}

/// Local midnight of the day with which a period begins, "2026-11-15" or "2026-11-15/2026-11-21".
time_t BeginOf(const std::string& period) {
  tm local{};
  if (strptime(period.c_str(), "%Y-%m-%d", &local) == nullptr) return 0;
  local.tm_isdst = -1;
  return mktime(&local);
}

/// Says in which time zone the days and local times of a report are meant. The report itself is handed on as it is.
void AddZone(const std::string& zone, time_t at, HttpAnswer& answer) {
  if (!zone.empty()) answer.headers.emplace_back("vexora-time-zone", zone);
  answer.headers.emplace_back("vexora-utc-offset", std::to_string(OffsetAt(at)));
}

}  // namespace

long OffsetAt(time_t at) {
  tm local{};
  localtime_r(&at, &local);
  return local.tm_gmtoff;
}

HttpAnswer JsonAnswer(std::string text, Caching caching) {
  HttpAnswer answer;
  answer.caching = caching;
  if (caching != Caching::kNoStore) answer.etag = EtagOf(text);
  answer.body = std::make_shared<const std::string>(std::move(text));
  return answer;
}

HttpAnswer DevicesAnswer(DeviceCentre& centre, const PollStatuses& polls, const HttpRequest& request) {
  const DeviceArgument chosen = DeviceOf(centre, request);
  if (chosen.error) return *chosen.error;
  ordered_json devices = ordered_json::array();
  // A device that is forgotten between the two questions is left out.
  for (const std::string& mac :
       chosen.mac.empty() ? centre.GetOnlineManagedDevices(false) : std::vector<std::string>{chosen.mac})
    if (const auto device = centre.Snapshot(mac)) devices.push_back(DeviceTree(mac, *device, centre.Absences(mac)));
  ordered_json answer{{"devices", std::move(devices)}};
  for (const snmp::DeviceStatus& status : polls ? polls() : std::vector<snmp::DeviceStatus>()) {
    if (chosen.mac.empty() || status.mac == chosen.mac) answer["polls"].push_back(PollTree(status));
  }
  return JsonAnswer(Dump(answer), Caching::kRevalidate);
}

HttpAnswer InterfaceTrafficAnswer(const DeviceCentre& centre, const PluginCalls& plugin, const HttpRequest& request) {
  const auto mac = Argument(request, "mac");
  const auto interface = Argument(request, "interface");
  if (!mac || !interface) return ErrorAnswer(400, "missing_argument", R"(The query must name "mac" and "interface".)");
  const DeviceArgument device = RequiredDeviceOf(centre, request);
  if (device.error) return *device.error;
  std::map<std::string, unsigned long long> traffic;
  plugin.interface_traffic(device.mac, *interface, traffic);
  // The plug-in leaves the map as it was for an interface that it does not know.
  if (!traffic.contains("input") || !traffic.contains("output"))
    return ErrorAnswer(404, "unknown_interface",
                       "No traffic of such an interface is known; /api/v1/ports lists the device's.");
  return JsonAnswer(
      Dump(ordered_json{
          {"mac", device.mac}, {"interface", *interface}, {"input", traffic["input"]}, {"output", traffic["output"]}}),
      Caching::kNoStore);
}

HttpAnswer PeriodsAnswer(const ReportCalls& report, const std::string& zone) {
  // The plug-in answers "{}" while its monitors are not registered: before the start, and after the stop.
  std::string text = StrictJson(report.periods());
  const auto periods = ordered_json::parse(text, nullptr, false);
  if (!periods.is_object() || periods.empty()) return NotRunning();
  HttpAnswer answer = JsonAnswer(std::move(text), Caching::kRevalidate);
  AddZone(zone, InstalledClock().Now().tv_sec, answer);
  return answer;
}

HttpAnswer ReportAnswer(const ReportCalls& report, const HttpRequest& request, const std::string& zone) {
  const auto type = Argument(request, "type");
  const auto period = Argument(request, "period");
  if (!type || !period) return ErrorAnswer(400, "missing_argument", R"(The query must name "type" and "period".)");
  if (*type != monitoring::kDaily && *type != monitoring::kWeekly)
    return ErrorAnswer(400, "unknown_type", R"("type" must be "daily" or "weekly".)");
  // Asked first: for a period that is not there the two reports answer in different ways.
  const auto periods = ordered_json::parse(StrictJson(report.periods()), nullptr, false);
  if (!periods.is_object() || periods.empty()) return NotRunning();
  if (!HasPeriod(periods, *type, *period))
    return ErrorAnswer(404, "unknown_period", "There is no report for this period, or none any more.");
  std::string text = StrictJson(report.read_report(Dump(ordered_json{{"report_type", *type}, {"period", *period}})));
  // The engine may have been stopped since it was asked for the periods.
  if (text.empty() || text == "{}") return NotRunning();
  HttpAnswer answer = JsonAnswer(std::move(text), Caching::kRevalidate);
  AddZone(zone, BeginOf(*period), answer);
  return answer;
}

}  // namespace probe
