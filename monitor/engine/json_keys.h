#pragma once

/// Keys of the JSON objects that go in and out.
namespace monitoring::json_key {

// Subscription requests.
inline constexpr const char* kSid = "sid";
inline constexpr const char* kFilter = "filter";
inline constexpr const char* kInterval = "interval";
inline constexpr const char* kMac = "mac";

// Report requests.
inline constexpr const char* kReportType = "report_type";
inline constexpr const char* kPeriod = "period";

// Traffic messages.
inline constexpr const char* kTrafficData = "traffic_data";
inline constexpr const char* kIfIndex = "ifIndex";
inline constexpr const char* kTraffic = "traffic";
inline constexpr const char* kTime = "time";
inline constexpr const char* kInput = "input";
inline constexpr const char* kOutput = "output";

}  // namespace monitoring::json_key
