#include "monitor/reports/client/client_report_show.h"

#include <algorithm>
#include <vector>

#include "monitor/engine/band_names.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/time_keys.h"
#include "monitor/reports/client/client_report_fold.h"

namespace monitoring::client_report {
namespace records = vexora_probe::models::controller;
namespace {

constexpr const char* kUnknown = "Unknown";

const char* ModeName(records::WIFIOpMode mode) {
  switch (mode) {
    case records::WIFIOpMode::k802_11a:
      return "802.11a";
    case records::WIFIOpMode::k802_11n:
      return "802.11n";
    case records::WIFIOpMode::k802_11b:
      return "802.11b";
    case records::WIFIOpMode::k802_11g:
      return "802.11g";
    case records::WIFIOpMode::k802_11ac:
      return "802.11ac";
    default:
      return kUnknown;
  }
}

/// The rows sorted by their keys.
std::vector<const ClientRows::value_type*> InOrder(const ClientRows& rows) {
  std::vector<const ClientRows::value_type*> sorted;
  sorted.reserve(rows.size());
  for (const auto& row : rows) sorted.push_back(&row);
  std::sort(sorted.begin(), sorted.end(),
            [](const auto* left, const auto* right) { return left->first < right->first; });
  return sorted;
}

JsonTree NewOctets(std::uint64_t octets) {
  // Messages hold signed numbers: a counter of 2^63 octets and more shows negative.
  return NewInteger(static_cast<std::int64_t>(octets));
}

JsonTree NewMoment(time_t moment) {
  return NewText(time_keys::DateTime(static_cast<long>(moment)));
}

JsonTree RowObject(const std::string& key_text, const WirelessClientItem& row, std::int32_t period_seconds) {
  WirelessClientKey key;
  key.ParseKey(key_text);  // fails for a name with the separator in it: the fields stay empty
  JsonTree object = NewObject();
  Add(object, json_key::kMac, NewText(key.mac));
  Add(object, json_key::kHostname, NewText(row.hostname.empty() ? DeviceName(key.mac) : row.hostname));
  Add(object, json_key::kUsername, NewText(key.username));
  Add(object, json_key::kNetwork, NewText(key.ssid));
  Add(object, json_key::kTypeFrequency, NewText(TypeMode2Str(row.mode, row.band)));
  Add(object, json_key::kDataRate, NewInteger(row.data_rate));
  Add(object, json_key::kUpload, NewOctets(row.upload));
  Add(object, json_key::kDownload, NewOctets(row.download));
  Add(object, json_key::kTotal, NewOctets(row.upload + row.download));
  Add(object, json_key::kFirstSeen, NewMoment(row.first_seen));
  Add(object, json_key::kLastSeen, NewMoment(row.last_seen));
  Add(object, json_key::kTimeOnline, NewInteger(row.online_time));
  Add(object, json_key::kOnlineTime, NewReal(OnlinePercent(row.online_time, period_seconds)));
  return object;
}

JsonTree RowArray(const ClientRows& rows, std::int32_t period_seconds) {
  JsonTree array = NewArray();
  for (const auto* row : InOrder(rows)) {
    // As text, because a tree takes many times the memory, and a report may hold tens of thousands of rows.
    Append(array, SerializedLeaf(RowObject(row->first, row->second, period_seconds)));
  }
  return array;
}

JsonTree PeriodArray(const ClientReports& reports) {
  JsonTree array = NewArray();
  std::for_each(reports.rbegin(), reports.rend(), [&](const auto& report) { Append(array, NewText(report.first)); });
  return array;
}

}  // namespace

std::string TypeMode2Str(records::WIFIOpMode mode, records::WIFIBandType band) {
  return std::string(ModeName(mode)) + "/" + BandName(band, kUnknown);
}

JsonTree ReportObject(const ClientReport& report, std::int32_t period_seconds) {
  JsonTree root = NewObject();
  Add(root, json_key::kWirelessClients, RowArray(report.clients, period_seconds));
  Add(root, json_key::kWirelessGuests, RowArray(report.guests, period_seconds));
  return root;
}

JsonTree ReportObject(const ClientReports& reports, const std::string& period, std::int32_t period_seconds) {
  const auto found = reports.find(period);
  const bool is_kept = found != reports.end();
  const ClientReport nothing;  // a name of its own: with a temporary here the whole report would be copied
  JsonTree root = ReportObject(is_kept ? found->second : nothing, period_seconds);
  Add(root, json_key::kExpire, NewBoolean(!is_kept));
  return root;
}

JsonTree PeriodsObject(const ClientReports& daily, const ClientReports& weekly) {
  JsonTree root = NewObject();
  Add(root, kDaily, PeriodArray(daily));
  Add(root, kWeekly, PeriodArray(weekly));
  return root;
}

}  // namespace monitoring::client_report
