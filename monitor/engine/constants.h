#pragma once

/// Every text that the library and its host agree on.
///
/// Monitor names are the keys of the manager's registry and the topics of the subscription service; the other topics
/// are the event centre's, which this library does not publish itself.
namespace monitoring {

// Names of the monitors. The mixed style is part of the interface.
inline constexpr const char* kHealthMonitor = "HealthMonitor";
inline constexpr const char* kClientCountMonitor = "ClientCountMonitor";
inline constexpr const char* kTrafficMonitor = "TrafficMonitor";
inline constexpr const char* kWirelessTopMonitor = "wireless_top_monitor";
inline constexpr const char* kWirelessNetworkReport = "wireless_network_report";
inline constexpr const char* kWirelessClientReport = "wireless_client_report";

// Topics of the client-count monitor, which is never subscribed under its own name.
inline constexpr const char* kSsidClientCountMonitor = "SSIDClientCountMonitor";
inline constexpr const char* kDevicesClientCountMonitor = "DevicesClientCountMonitor";

// Views of the live monitors, by the time between two samples.
inline constexpr const char* kView1m = "1m";
inline constexpr const char* kView5m = "5m";
inline constexpr const char* kView10m = "10m";
inline constexpr const char* kView1h = "1h";
inline constexpr const char* kView2h = "2h";
inline constexpr const char* kView1day = "1day";

// Periods of the reports.
inline constexpr const char* kDaily = "daily";
inline constexpr const char* kWeekly = "weekly";

/// The one task of the library.
inline constexpr const char* kMergeTask = "monitor_data_merge";

// Event-centre topics: what became of an action.
inline constexpr const char* kActionRebootAccept = "/action/reboot/accept";
inline constexpr const char* kActionRebootFail = "/action/reboot/fail";
inline constexpr const char* kActionRebootProgress = "/action/reboot/progress";
inline constexpr const char* kActionRebootComplete = "/action/reboot/complete";
inline constexpr const char* kActionBackupAccept = "/action/backup/accept";
inline constexpr const char* kActionBackupFail = "/action/backup/fail";
inline constexpr const char* kActionBackupProgress = "/action/backup/progress";
inline constexpr const char* kActionBackupComplete = "/action/backup/complete";
inline constexpr const char* kActionRestoreAccept = "/action/restore/accept";
inline constexpr const char* kActionRestoreFail = "/action/restore/fail";
inline constexpr const char* kActionRestoreProgress = "/action/restore/progress";
inline constexpr const char* kActionRestoreComplete = "/action/restore/complete";
inline constexpr const char* kActionUpgradeAccept = "/action/upgrade/accept";
inline constexpr const char* kActionUpgradeFail = "/action/upgrade/fail";
inline constexpr const char* kActionUpgradeProgress = "/action/upgrade/progress";
inline constexpr const char* kActionUpgradeComplete = "/action/upgrade/complete";
inline constexpr const char* kActionSaveRunningAccept = "/action/save_running/accept";
inline constexpr const char* kActionSaveRunningFail = "/action/save_running/fail";
inline constexpr const char* kActionSaveRunningProgress = "/action/save_running/progress";
inline constexpr const char* kActionSaveRunningComplete = "/action/save_running/complete";
inline constexpr const char* kActionUpgradeProbeAccept = "/action/upgrade_probe/accept";
inline constexpr const char* kActionUpgradeProbeFail = "/action/upgrade_probe/fail";
inline constexpr const char* kActionUpgradeProbeComplete = "/action/upgrade_probe/complete";
inline constexpr const char* kActionDeleteAccept = "/action/delete/accept";
inline constexpr const char* kActionDeleteFail = "/action/delete/fail";
inline constexpr const char* kActionDeleteComplete = "/action/delete/complete";

// Event-centre topics: what changed. Those that end in a slash are prefixes of a family.
inline constexpr const char* kStateChangeReachability = "/state_change/reachability/";
inline constexpr const char* kStateChangeCredential = "/state_change/credential/";
inline constexpr const char* kStateChangeDeviceService = "/state_change/device_service/";
inline constexpr const char* kStateChangeFirmware = "/state_change/firmware/";
inline constexpr const char* kStateChangeHealth = "/state_change/health/";
inline constexpr const char* kStateChangeEox = "/state_change/eox";
inline constexpr const char* kStateChangeMaintenance = "/state_change/maintenance";
inline constexpr const char* kEventLogin = "/event/login";
inline constexpr const char* kStateHealth = "/state/health";

// Further texts of the host's interface. The first four stand beside the monitor names and name no monitor.
inline constexpr const char* kHealthMonitorText = "health_monitor";
inline constexpr const char* kClientCountMonitorText = "clientcount_monitor";
inline constexpr const char* kTrafficMonitorText = "traffic_monitor";
inline constexpr const char* kAssociateClientMonitor = "AssociateCLientMonitor";  // with this casing
inline constexpr const char* kNone = "None";
inline constexpr const char* kExpireTime = "ExpireTime";
inline constexpr const char* kPlatformInfoStep = "1-Platform info";
inline constexpr const char* kUserCredentialStep = "2-User Credential";
inline constexpr const char* kAaaSetting = "AAASetting";
inline constexpr const char* kAaaLocalUser = "AAASetting.LocalUser";
inline constexpr const char* kAaaLocalUserAttribute = "AAASetting.LocalUserAttribute";
inline constexpr const char* kAaaPasswordStrength = "AAASetting.PasswordStrength";
inline constexpr const char* kManagerConnection = "Manager Connection";
inline constexpr const char* kLog = "Log";
inline constexpr const char* kSyslogSetting = "Syslog_setting";
inline constexpr const char* kSiteInfo = "Site info";

}  // namespace monitoring
