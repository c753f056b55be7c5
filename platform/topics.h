#pragma once

#include <array>

/// The names that go over the wire between the plug-in and the clients of its host, who pass them on unchanged.
///
/// Each topic is also the text under which the plug-in calls `SubscribesManager::AddSubscriber`, and the "name" of the
/// messages that it sends. The mixed style is part of the interface.
namespace monitoring {

// Topics with messages.
inline constexpr const char* kHealthMonitor = "HealthMonitor";              ///< State of each device, in levels.
inline constexpr const char* kTrafficMonitor = "TrafficMonitor";            ///< Speeds of each interface.
inline constexpr const char* kWirelessTopMonitor = "wireless_top_monitor";  ///< Rankings by traffic and clients.
/// Wireless clients by SSID, of the client-count monitor.
inline constexpr const char* kSsidClientCountMonitor = "SSIDClientCountMonitor";
/// Wireless clients by device, of the client-count monitor too.
inline constexpr const char* kDevicesClientCountMonitor = "DevicesClientCountMonitor";

// Topics without messages: a report is asked for through the plug-in's entry points.
inline constexpr const char* kWirelessNetworkReport = "wireless_network_report";  ///< Report on wireless networks.
inline constexpr const char* kWirelessClientReport = "wireless_client_report";    ///< Report on wireless clients.

// Views of the traffic and client-count topics, named after the time between two samples. The "interval" of a filter.
inline constexpr const char* kView1m = "1m";      ///< A sample a minute, one for each pass.
inline constexpr const char* kView5m = "5m";      ///< A sample every 5 minutes.
inline constexpr const char* kView10m = "10m";    ///< A sample every 10 minutes.
inline constexpr const char* kView1h = "1h";      ///< A sample an hour.
inline constexpr const char* kView2h = "2h";      ///< A sample every 2 hours.
inline constexpr const char* kView1day = "1day";  ///< A sample a day.

/// All views, the shortest first.
inline constexpr std::array<const char*, 6> kViews{kView1m, kView5m, kView10m, kView1h, kView2h, kView1day};

// The views that a filter without an "interval" asks for.
inline constexpr const char* kTrafficDefaultView = kView10m;     ///< Of the traffic topic.
inline constexpr const char* kClientCountDefaultView = kView1h;  ///< Of both client-count topics.

// Periods of the reports: the "report_type" of a request.
inline constexpr const char* kDaily = "daily";    ///< A bucket for each local day.
inline constexpr const char* kWeekly = "weekly";  ///< A bucket for each week, Sunday to Saturday.

}  // namespace monitoring
