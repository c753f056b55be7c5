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

// Health messages.
inline constexpr const char* kStatus = "status";
inline constexpr const char* kName = "name";
inline constexpr const char* kDevice = "device";
inline constexpr const char* kHostname = "hostname";
inline constexpr const char* kActualCpu = "actual_cpu";
inline constexpr const char* kUptime = "uptime";
inline constexpr const char* kDeviceclass = "deviceclass";
inline constexpr const char* kNotification = "notification";
inline constexpr const char* kAlert = "alert";
inline constexpr const char* kWarning = "warning";
inline constexpr const char* kInfo = "info";
inline constexpr const char* kClients = "clients";
inline constexpr const char* kRogueAps = "rogue_aps";
inline constexpr const char* kValue = "value";
inline constexpr const char* kLevel = "level";

// Client-count messages.
inline constexpr const char* kSsidsClientsCounts = "ssids_clients_counts";
inline constexpr const char* kSsidClientCountAll = "ssid_client_count_all";
inline constexpr const char* kCurrentSsidClientsCounts = "current_ssid_clients_counts";
inline constexpr const char* kDevicesClientCounts = "devices_client_counts";
inline constexpr const char* kDeviceClientCountAll = "device_client_count_all";
inline constexpr const char* kCurrentDevicesCounts = "current_devices_counts";
inline constexpr const char* kSsid = "ssid";
inline constexpr const char* kCount = "count";

// Wireless client reports; their "mac" and "hostname" stand above.
inline constexpr const char* kWirelessClients = "wireless_clients";
inline constexpr const char* kWirelessGuests = "wireless_guests";
inline constexpr const char* kExpire = "expire";
inline constexpr const char* kUsername = "username";
inline constexpr const char* kNetwork = "network";
inline constexpr const char* kTypeFrequency = "type_frequency";
inline constexpr const char* kDataRate = "data_rate";
inline constexpr const char* kUpload = "upload";
inline constexpr const char* kDownload = "download";
inline constexpr const char* kTotal = "total";
inline constexpr const char* kFirstSeen = "first_seen";
inline constexpr const char* kLastSeen = "last_seen";
inline constexpr const char* kTimeOnline = "time_online";
inline constexpr const char* kOnlineTime = "online_time";

// Wireless top requests and messages: a request says "access_point" and "clients", a message "access_points" and
// "client". Their "count", "clients", "name", "total" and "wireless_clients" stand above.
inline constexpr const char* kAccessPoint = "access_point";
inline constexpr const char* kAccessPoints = "access_points";
inline constexpr const char* kWirelessNetworks = "wireless_networks";
inline constexpr const char* kOrderBy = "orderby";
inline constexpr const char* kFlag = "flag";
inline constexpr const char* kClient = "client";
inline constexpr const char* kId = "id";
inline constexpr const char* kIn = "in";
inline constexpr const char* kOut = "out";

// Wireless network reports; their "name", "expire", "first_seen" and "last_seen" stand above.
inline constexpr const char* kRogueAp = "rogue_ap";
inline constexpr const char* kWirelessAccessPoints = "wireless_access_points";
inline constexpr const char* kWirelessNetwork = "wireless_network";
inline constexpr const char* kSpectrumUsage = "spectrum_usage";
inline constexpr const char* kNetworks = "networks";
inline constexpr const char* kTotalTime = "total_time";
inline constexpr const char* kChannel = "channel";
inline constexpr const char* kAverageStrength = "average_strength";
inline constexpr const char* kSeenBy = "seen_by";
inline constexpr const char* kClientCount = "client_count";
inline constexpr const char* kPeak = "peak";
inline constexpr const char* kAverage = "average";
inline constexpr const char* kApName = "apname";
inline constexpr const char* kModel = "model";
inline constexpr const char* kVersion = "version";
inline constexpr const char* kGuest = "guest";
inline constexpr const char* kSecurity = "security";

}  // namespace monitoring::json_key
