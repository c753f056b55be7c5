#pragma once

#include "platform/topics.h"  // IWYU pragma: export

/// Every text that the library and its host agree on; those that the host's clients know, too, are
/// `platform/topics.h`'s.
///
/// Monitor names are the keys of the manager's registry and the topics of the subscription service; the other topics
/// are the event centre's, which this library does not publish itself.
namespace monitoring {

/// A monitor that is no topic: it feeds `kSsidClientCountMonitor` and `kDevicesClientCountMonitor`.
inline constexpr const char* kClientCountMonitor = "ClientCountMonitor";

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
