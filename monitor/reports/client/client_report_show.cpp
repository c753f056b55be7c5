#include "monitor/reports/client/client_report_show.h"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <optional>
#include <unordered_map>
#include <vector>

#include "monitor/engine/band_names.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_writer.h"
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

/// Writes the rows of a report as text, for it may hold tens of thousands of them.
class RowWriter {
 public:
  RowWriter(std::string& text, std::int32_t period_seconds) : text_(text), period_seconds_(period_seconds) {}

  void Append(const std::string& key_text, const WirelessClientItem& row) {
    WirelessClientKey key;
    key.ParseKey(key_text);  // fails for a name with the separator in it: the fields stay empty
    ObjectWriter object(text_);
    const auto quoted = [&](const char* name, const std::string& value) {
      object.Begin(name);
      AppendQuoted(text_, value);
    };
    // Messages hold signed numbers: a counter of 2^63 octets and more shows negative.
    const auto number = [&](const char* name, std::uint64_t value) {
      object.Begin(name);
      AppendInteger(text_, static_cast<std::int64_t>(value));
    };
    quoted(json_key::kMac, key.mac);
    quoted(json_key::kHostname, row.hostname.empty() ? DeviceName(key.mac) : row.hostname);
    quoted(json_key::kUsername, key.username);
    quoted(json_key::kNetwork, key.ssid);
    quoted(json_key::kTypeFrequency, TypeMode2Str(row.mode, row.band));
    object.Begin(json_key::kDataRate);
    AppendInteger(text_, row.data_rate);
    number(json_key::kUpload, row.upload);
    number(json_key::kDownload, row.download);
    number(json_key::kTotal, row.upload + row.download);
    quoted(json_key::kFirstSeen, Moment(row.first_seen));
    quoted(json_key::kLastSeen, Moment(row.last_seen));
    object.Begin(json_key::kTimeOnline);
    AppendInteger(text_, row.online_time);
    object.Begin(json_key::kOnlineTime);
    AppendReal(text_, OnlinePercent(row.online_time, period_seconds_));
    object.Close();
  }

 private:
  /// Date and time in words. They are those of passes, so that there are few of them for all rows.
  const std::string& Moment(time_t moment) {
    const auto [known, is_new] = moments_.try_emplace(moment);
    if (is_new) known->second = time_keys::DateTime(static_cast<long>(moment));
    return known->second;
  }

  std::string& text_;
  const std::int32_t period_seconds_;
  std::unordered_map<time_t, std::string> moments_;
};

void AppendRows(std::string& text, const ClientRows& rows, RowWriter& writer) {
  ArrayWriter array(text);
  for (const auto* row : InOrder(rows)) {
    array.Begin();
    writer.Append(row->first, row->second);
  }
  array.Close();
}

/// A report as a JSON object, with the member "expire" when it has a value.
std::string TextOf(const ClientReport& report, std::int32_t period_seconds, std::optional<bool> is_expired) {
  constexpr std::size_t kUsualRow = 384;
  std::string text;
  text.reserve((report.clients.size() + report.guests.size()) * kUsualRow);
  RowWriter rows(text, period_seconds);
  ObjectWriter root(text);
  root.Begin(json_key::kWirelessClients);
  AppendRows(text, report.clients, rows);
  root.Begin(json_key::kWirelessGuests);
  AppendRows(text, report.guests, rows);
  if (is_expired) {
    root.Begin(json_key::kExpire);
    text += *is_expired ? "true" : "false";
  }
  root.Close();
  return text;
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

std::string ReportText(const ClientReports& reports, const std::string& period, std::int32_t period_seconds) {
  const auto found = reports.find(period);
  if (found == reports.end()) return TextOf({}, period_seconds, true);
  return TextOf(found->second, period_seconds, false);
}

std::string EmptyReportText() {
  return TextOf({}, 0, std::nullopt);
}

JsonTree PeriodsObject(const ClientReports& daily, const ClientReports& weekly) {
  JsonTree root = NewObject();
  Add(root, kDaily, PeriodArray(daily));
  Add(root, kWeekly, PeriodArray(weekly));
  return root;
}

}  // namespace monitoring::client_report
