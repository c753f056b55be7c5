#include "monitor/reports/client/client_report_show.h"

#include <algorithm>
#include <vector>

#include "monitor/engine/band_names.h"
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

/// The rows by their keys.
std::vector<const ClientRows::value_type*> InOrder(const ClientRows& rows) {
  std::vector<const ClientRows::value_type*> sorted;
  sorted.reserve(rows.size());
  for (const auto& row : rows) sorted.push_back(&row);
  std::sort(sorted.begin(), sorted.end(),
            [](const auto* left, const auto* right) { return left->first < right->first; });
  return sorted;
}

JsonTree NewOctets(std::uint64_t octets) {
  return NewInteger(static_cast<std::int64_t>(octets));
}

JsonTree NewMoment(time_t moment) {
  return NewText(time_keys::DateTime(static_cast<long>(moment)));
}

JsonTree RowObject(const std::string& key_text, const WirelessClientItem& row, std::int32_t period_seconds) {
  WirelessClientKey key;
  key.ParseKey(key_text);
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

}  // namespace

std::string TypeMode2Str(records::WIFIOpMode mode, records::WIFIBandType band) {
  return std::string(ModeName(mode)) + "/" + BandName(band, kUnknown);
}

JsonTree RowArray(const ClientRows& rows, std::int32_t period_seconds) {
  JsonTree array = NewArray();
  for (const auto* row : InOrder(rows)) {
    // a row is many times larger as a tree than as text, and a report may hold tens of thousands
    Append(array, KeptAsText(RowObject(row->first, row->second, period_seconds)));
  }
  return array;
}

JsonTree PeriodArray(const ClientReports& reports) {
  JsonTree array = NewArray();
  std::for_each(reports.rbegin(), reports.rend(), [&](const auto& report) { Append(array, NewText(report.first)); });
  return array;
}

}  // namespace monitoring::client_report
