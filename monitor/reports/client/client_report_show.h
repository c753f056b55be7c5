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

/// The rows of a period as two arrays of objects, each in the order of the keys: clients and guests.
///
/// A client without a host name that is itself a managed device gets that device's name: asks the device centre. A key
/// that cannot be parsed, because a name in it holds a "|", leaves its three fields empty.
JsonTree ReportObject(const ClientReport& report, std::int32_t period_seconds);

/// The same for a day or a week by its key, with the member "expire": whether nothing is kept of it.
JsonTree ReportObject(const ClientReports& reports, const std::string& period, std::int32_t period_seconds);

/// The days and weeks that there are, newest first.
JsonTree PeriodsObject(const ClientReports& daily, const ClientReports& weekly);

}  // namespace monitoring::client_report
