#pragma once

#include <cstdint>
#include <string>

#include "monitor/engine/json_tree.h"
#include "monitor/reports/client/client_report_records.h"
#include "platform/device_records.h"

namespace monitoring::client_report {

/// Operating mode and band in words, as in "802.11n/5GHz"; "Unknown" for each of them that is not known.
std::string TypeMode2Str(vexora_probe::models::controller::WIFIOpMode mode,
                         vexora_probe::models::controller::WIFIBandType band);

/// The report on a day or a week by its key, as JSON: its rows as two arrays of objects, each in the order of the keys,
/// clients and guests, and "expire", whether nothing is kept of that period.
///
/// A client without a host name that is itself a managed device gets that device's name: asks the device centre. A key
/// that cannot be parsed, because a name in it holds a "|", leaves its three fields empty.
std::string ReportText(const ClientReports& reports, const std::string& period, std::int32_t period_seconds);

/// The report of a type that is unknown: two empty arrays.
std::string EmptyReportText();

/// The days and weeks that there are, newest first.
JsonTree PeriodsObject(const ClientReports& daily, const ClientReports& weekly);

}  // namespace monitoring::client_report
