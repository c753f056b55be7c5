#pragma once

#include <cstdint>
#include <string>

#include "monitor/engine/json_tree.h"
#include "monitor/reports/client/client_report_records.h"
#include "platform/device_records.h"

namespace monitoring::client_report {

/// Operating mode and band in words, as in "802.11n/5GHz"; "Unknown" for what is neither of those known.
std::string TypeMode2Str(vexora_probe::models::controller::WIFIOpMode mode,
                         vexora_probe::models::controller::WIFIBandType band);

/// An array with an object for each row, in the order of the keys.
///
/// A client without a host name that is itself a managed device gets that device's name: asks the device centre. A key
/// that cannot be parsed, for a name in it holds a "|", leaves its three fields empty.
JsonTree RowArray(const ClientRows& rows, std::int32_t period_seconds);

/// An array of the days or weeks that there are, newest first.
JsonTree PeriodArray(const ClientReports& reports);

}  // namespace monitoring::client_report
